// An object of another process on the bus.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "linux/bus/bus_caller.h"
#include "linux/bus/death_recipients.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Linux {

// Runs a task on another thread; false when it does not.
using Post = std::function<bool(std::function<void()>)>;

// Any thread. BusClient makes these, one for each object.
class RemoteObject final : public IRemoteObject {
public:
    // `uniqueName` is the process's connection: what is sent never reaches a successor that has taken over its name.
    RemoteObject(std::shared_ptr<BusCaller> caller, Post post, std::string uniqueName, std::string path);

    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override;
    bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) override;

    bool IsDead() const;
    const std::string& GetUniqueName() const { return method_.busName; }
    const std::string& GetPath() const { return method_.path; }

    // The process is gone: has every recipient told, one after the other, by a posted task. The second time does
    // nothing.
    void Die();

private:
    void TellRecipients();
    sptr<DeathRecipient> TakeRecipient();

    const std::shared_ptr<BusCaller> caller_;
    const Post post_;
    const BusMethod method_;

    mutable std::mutex mutex_;
    DeathRecipients recipients_;  // guarded by mutex_; those not told yet
    bool dead_ = false;           // guarded by mutex_
};

}  // namespace ZYNE::Linux
