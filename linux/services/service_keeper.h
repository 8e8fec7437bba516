// Restarts system services that die: the library starts each of them only once.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>

#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "linux/bus/remote_object.h"
#include "linux/services/device_bus.h"
#include "linux/services/restart_pauses.h"

namespace ZYNE::Linux {

// Any thread. A service that was added is kept until the bus ends.
class ServiceKeeper : public std::enable_shared_from_this<ServiceKeeper> {
public:
    ServiceKeeper(ThreadPool& pool, DeviceBus& bus) : pool_(pool), bus_(bus) {}

    // The service `name` was started; `remote` is an object of its process.
    void Keep(const std::string& name, const sptr<RemoteObject>& remote);

private:
    using Clock = std::chrono::steady_clock;
    class DeathWatch;
    struct Kept {
        sptr<RemoteObject> remote;  // held, so that its death is noticed
        Clock::time_point started;
        RestartPauses pauses;
    };

    // The process of `remote` is gone; null if there was none.
    void TakeDeath(const std::string& name, const sptr<IRemoteObject>& remote);
    void StartAgain(const std::string& name);
    bool IsAlive(const std::string& name);

    ThreadPool& pool_;
    DeviceBus& bus_;
    Mutex mutex_;
    std::map<std::string, Kept> services_ GUARDED_BY(mutex_);  // by bus name
};

}  // namespace ZYNE::Linux
