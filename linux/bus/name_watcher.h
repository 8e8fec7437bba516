// Knows who is on the bus: which connections live, and who owns which well-known name.
//
// It follows the bus's signals, so a question costs no round trip.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "linux/base/mutex.h"
#include "linux/bus/bus_connection.h"

namespace ZYNE::Linux {

// Any thread, except that Stop and the destructor must not run inside a callback.
class NameWatcher {
public:
    struct Callbacks {
        // The connection `uniqueName` has left. Called in a handler of the connection: must be quick.
        std::function<void(const std::string& uniqueName)> gone;
        // The bus itself is gone. Called once, after everyone else was reported gone; must be quick as well.
        std::function<void()> lost;
    };

    // Returns when the present state of the bus is known. Throws std::runtime_error when the bus is gone.
    NameWatcher(const std::shared_ptr<BusConnection>& connection, Callbacks callbacks);
    NameWatcher(const NameWatcher&) = delete;
    NameWatcher& operator=(const NameWatcher&) = delete;
    ~NameWatcher() { Stop(); }

    // No callback runs after this; everyone counts as gone.
    void Stop();

    // The connection that owns `name`; empty when nobody does.
    std::string GetOwner(const std::string& name) const;
    bool IsAlive(const std::string& uniqueName) const;

    // Whether `uniqueName` owns `name`, waiting to hear of it.
    bool WaitForOwner(const std::string& name, const std::string& uniqueName, std::chrono::milliseconds timeout);
    // Whether the connection has left, waiting for it to leave.
    bool WaitUntilGone(const std::string& uniqueName, std::chrono::milliseconds timeout);

private:
    int ReadPresentState(sd_bus* bus);
    void OnLost();
    void Change(const std::string& name, const std::string& owner);
    void LoseEveryone();
    void OnNameOwnerChanged(sd_bus_message* message);

    const Callbacks callbacks_;
    std::atomic<bool> stopping_ = false;
    mutable Mutex mutex_;
    std::condition_variable changed_;                               // owners_ or alive_ has changed
    std::map<std::string, std::string> owners_ GUARDED_BY(mutex_);  // well-known name to unique name
    std::set<std::string> alive_ GUARDED_BY(mutex_);                // unique names
    BusSlot changes_;  // this and the next are last: their handlers use the others
    BusSlot end_;
};

}  // namespace ZYNE::Linux
