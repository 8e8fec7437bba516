// One app extension: its process, and who is connected to it.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linux/bus/remote_object.h"
#include "linux/runtime/serial_tasks.h"
#include "platform/ability/ability_connection.h"

namespace ZYNE::Linux {

// Any thread. Connecting, disconnecting and the process's death are worked off one after the other, so a connection
// hears of them in the order in which they happened, and a process that is being ended is gone before the next one
// starts.
class Extension : public std::enable_shared_from_this<Extension> {
public:
    // What the callbacks are told besides 0.
    enum CallbackResult : int { START_FAILED = 1, DIED = 2 };

    Extension(ElementName element, std::string busName);

    // Starts the process if it does not run and adds `connection`, which is told the outcome. False when that could not
    // be begun.
    bool Connect(const sptr<IAbilityConnection>& connection);

    // Removes `connection`, which is told, and ends the process with the last one. False when it is not connected, nor
    // about to be.
    bool Disconnect(const sptr<IAbilityConnection>& connection);

private:
    class DeathWatch;

    void Forget(const sptr<IAbilityConnection>& connection);

    // Tasks, one at a time.
    void DoConnect(const sptr<IAbilityConnection>& connection);
    void DoDisconnect(const sptr<IAbilityConnection>& connection);
    void DoDie(const wptr<IRemoteObject>& died);

    bool IsRunning() const;
    bool Start();
    void End();
    void LoseEveryone();

    const ElementName element_;
    const std::string busName_;
    const std::shared_ptr<SerialTasks> tasks_;

    std::mutex mutex_;
    std::map<IAbilityConnection*, size_t> accepted_;  // guarded by mutex_; how often each is connected or about to be

    // Touched by tasks alone.
    sptr<RemoteObject> remote_;  // null while the process does not run
    sptr<IRemoteObject::DeathRecipient> deathWatch_;
    std::vector<sptr<IAbilityConnection>> connected_;
};

}  // namespace ZYNE::Linux
