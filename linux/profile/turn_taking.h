// Two threads that take turns: one waits for the network, and tells of what it has read while the other reads on.
#pragma once

#include <array>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "linux/profile/profile_network.h"

namespace ZYNE::Linux {

// Any thread, unless said otherwise.
//
// At most one thread reads and at most one tells. The one that has read something tells of it itself, so that a change
// reaches its listener without waking another thread first; the reading it leaves to the other one. While somebody
// tells, for however long, the other thread keeps reading.
class TurnTaking {
public:
    // `tell` tells of one thing that waits; false when there is none.
    explicit TurnTaking(std::function<bool()> tell) : tell_(std::move(tell)) {}
    TurnTaking(const TurnTaking&) = delete;
    TurnTaking& operator=(const TurnTaking&) = delete;
    ~TurnTaking() { Stop(); }

    // Start and Stop are for one thread, and no turn may call Stop: it waits for those under way.
    void Start();
    void Stop();

    // Something waits to be told.
    void Wake();

    // Reads from `network` from now on, where there was none; null ends it, and when it returns, nobody reads any more.
    // Not to be called in a turn.
    void SetNetwork(ProfileNetwork* network);

private:
    using Lock = std::unique_lock<std::mutex>;

    void Run();
    void ReadOnce(Lock& lock);
    void TellAll(Lock& lock);

    const std::function<bool()> tell_;

    std::mutex mutex_;
    std::condition_variable turn_;       // there is something to do
    std::condition_variable readEnded_;  // isReading_ has become false
    bool isStopping_ = false;            // guarded by mutex_
    bool isReading_ = false;             // guarded by mutex_
    bool isTelling_ = false;             // guarded by mutex_
    bool isWaiting_ = false;             // guarded by mutex_; something may wait to be told
    ProfileNetwork* network_ = nullptr;  // guarded by mutex_
    std::array<std::thread, 2> threads_;
};

}  // namespace ZYNE::Linux
