// A process's calling side on one bus: who is there, and the objects that requests can be sent to.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "linux/base/mutex.h"
#include "linux/base/process_handle.h"
#include "linux/bus/bus_caller.h"
#include "linux/bus/caller_identity.h"
#include "linux/bus/direct_lines.h"
#include "linux/bus/name_watcher.h"
#include "linux/bus/remote_object.h"

namespace ZYNE::Linux {

// Any thread.
class BusClient {
public:
    // `loop` reads the bus. `post` runs the death notices. `lost` is called once, on the loop's thread, when the bus
    // goes away; it must be quick. Throws std::runtime_error when the bus cannot be reached.
    BusClient(EventLoop& loop, const std::string& address, Post post, std::function<void()> lost);
    ~BusClient();

    // From now on every object is dead; nobody is told. Calls under way end when the bus does.
    void Close();

    // The object at `path` of the process `uniqueName`: the same one for as long as anybody holds it. If the process is
    // gone, the object is dead.
    sptr<RemoteObject> GetRemote(const std::string& uniqueName, const std::string& path);

    // The same as a listener, see ListenerObject. One that counts as dead is made anew.
    sptr<RemoteObject> GetListener(const std::string& uniqueName, const std::string& path);

    // Has the bus start the service `name` and waits until it owns that name. Returns its unique name; empty when it
    // did not start, with the reason in `error`.
    std::string StartService(const std::string& name, std::string& error);

    // Asks the bus itself, which knows that a connection has ended a moment before others are told.
    bool IsOnBus(const std::string& uniqueName);

    // The process behind a connection; empty when it has left.
    ProcessHandle FindProcess(const std::string& uniqueName);

    NameWatcher& GetNames() { return names_; }
    BusCaller& GetCaller() { return *caller_; }
    CallerIdentity& GetIdentity() { return identity_; }
    // For signals and for what this process serves.
    const std::shared_ptr<BusConnection>& GetConnection() const { return connection_; }

private:
    using Key = std::tuple<std::string, std::string, bool>;  // unique name, path, whether it is a listener

    sptr<RemoteObject> GetObject(const Key& key);
    sptr<RemoteObject> FindOrMake(const Key& key);
    sptr<RemoteObject> Make(const Key& key) const;
    std::string AskOwner(const std::string& name);
    void OnGone(const std::string& uniqueName);

    const Post post_;
    const std::shared_ptr<BusCaller> caller_;
    const std::shared_ptr<DirectLines> lines_;
    CallerIdentity identity_{*caller_};
    Mutex mutex_;
    std::map<Key, wptr<RemoteObject>> remotes_ GUARDED_BY(mutex_);
    const std::shared_ptr<BusConnection> connection_;
    NameWatcher names_;  // the last to be built: its handlers use the others
};

}  // namespace ZYNE::Linux
