// One app extension: its process, and who is connected to it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/apps/absent_extension.h"
#include "linux/base/mailbox.h"
#include "linux/base/mutex.h"
#include "linux/bus/remote_object.h"
#include "linux/services/device_bus.h"
#include "platform/ability/ability_connection.h"

namespace ZYNE::Linux {

// Any thread. Connecting, disconnecting and the process's death are worked off one after the other, so a connection
// hears of them in the order in which they happened, and a process that is being ended is gone before the next one
// starts.
//
// Who asks an extension for facts holds up the facts of others. So a request has a limit, a process that misses it
// again and again is killed, and while a process does not start, or did not a moment ago, connections get a stand-in
// that answers at once. Its death says that connecting again is worth a try.
class Extension : public std::enable_shared_from_this<Extension> {
public:
    // What the callbacks are told besides 0.
    enum CallbackResult : int { START_FAILED = 1, DIED = 2 };

    // `answerTime`: the limit of a request for a fact. None for an extension that is asked for none: its requests wait
    // as long as they say, and it has no stand-in.
    Extension(ThreadPool& pool, DeviceBus& bus, ElementName element, std::string busName,
        std::optional<std::chrono::milliseconds> answerTime);

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
    bool StartProcess();
    sptr<IRemoteObject> MakeObject(const sptr<RemoteObject>& remote);
    void End();

    // The stand-in. Nothing happens where there is no limit.
    bool BeginStart();
    void EndStart(bool isStarted);
    void StandIn(uint64_t start);
    void TellStandIn(const sptr<IAbilityConnection>& connection, const sptr<AbsentExtension>& absent) const;
    sptr<AbsentExtension> GetStandIn();  // null where there is no limit
    void StopWaiting(const sptr<IAbilityConnection>& connection);

    // Ends a process that does not answer, and waits until it is gone. A task.
    void KillHung(const sptr<RemoteObject>& remote) const;
    void LoseEveryone();

    ThreadPool& pool_;
    DeviceBus& bus_;
    const ElementName element_;
    const std::string busName_;
    const std::optional<std::chrono::milliseconds> answerTime_;
    const std::shared_ptr<SerialTasks> tasks_;

    Mutex mutex_;
    std::map<IAbilityConnection*, size_t> accepted_ GUARDED_BY(mutex_);  // how often each is connected or about to be
    std::vector<sptr<IAbilityConnection>> waiting_ GUARDED_BY(mutex_);   // those that a start has not come to yet
    sptr<AbsentExtension> absent_ GUARDED_BY(mutex_);  // the last stand-in, dead when it is not needed
    uint64_t starts_ GUARDED_BY(mutex_) = 0;           // how many there have been
    bool isStarting_ GUARDED_BY(mutex_) = false;

    // Touched by tasks alone.
    sptr<RemoteObject> remote_;   // null while the process does not run
    sptr<IRemoteObject> object_;  // what connections are given of it
    sptr<IRemoteObject::DeathRecipient> deathWatch_;
    std::vector<sptr<IAbilityConnection>> connected_;
};

}  // namespace ZYNE::Linux
