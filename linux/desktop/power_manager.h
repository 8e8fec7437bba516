// The power manager on Linux: running locks, which the desktop respects.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "linux/desktop/screen_inhibitor.h"
#include "platform/power/power_mgr_client.h"
#include "platform/time/time_source.h"

namespace ZYNE::Linux {

// What RunningLock::Lock answers.
enum PowerCode : int32_t {
    POWER_OK = 0,
    POWER_BAD_TIMEOUT = 1,   // not above 0
    POWER_NO_INHIBITOR = 2,  // nothing on this machine keeps the screen on for us; the log tells why, once
    POWER_NO_THREAD = 3,     // the pool has none to wait for the time-out
    POWER_STOPPED = 4,
};

// Any thread. While something is locked, one task of the pool waits for the next time-out.
//
// When a screen saver ends, its lock ends too; locking again then finds the next one.
class PowerManager final : public PowerMgrClient, public std::enable_shared_from_this<PowerManager> {
public:
    // Both are used until Stop.
    PowerManager(ThreadPool& pool, TimeSource& time, PowerBuses buses);
    PowerManager(const PowerManager&) = delete;
    PowerManager& operator=(const PowerManager&) = delete;
    ~PowerManager();

    std::shared_ptr<RunningLock> CreateRunningLock(const std::string& name, RunningLockType type) override;

    // Unlocks everything and leaves the buses for good. Before the thread pool is stopped.
    void Stop();

private:
    class ScreenLock;

    struct Locked {
        TimeSource::TimePoint deadline;
        std::unique_ptr<ScreenInhibitor::Inhibition> inhibition;
    };
    using LockedMap = std::map<const RunningLock*, Locked>;

    int32_t Lock(const RunningLock* lock, const std::string& name, int32_t timeoutMs);
    void UnLock(const RunningLock* lock);

    bool Inhibit(Locked& locked, const std::string& name) REQUIRES(mutex_);
    bool StartWatch() REQUIRES(mutex_);
    LockedMap::iterator Release(LockedMap::iterator at) REQUIRES(mutex_);

    void Watch();

    ThreadPool& pool_;
    TimeSource& time_;
    Mutex mutex_;  // held while the desktop is asked, so that requests and releases keep their order
    std::condition_variable changed_;  // a deadline is new, or something was unlocked
    ScreenInhibitor inhibitor_ GUARDED_BY(mutex_);
    LockedMap locked_ GUARDED_BY(mutex_);
    bool watching_ GUARDED_BY(mutex_) = false;  // Watch is posted or runs
    bool stopped_ GUARDED_BY(mutex_) = false;
    bool complained_ GUARDED_BY(mutex_) = false;  // the log says that the screen cannot be kept on
};

}  // namespace ZYNE::Linux
