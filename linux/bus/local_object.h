// An object of this process that is found like a remote one, by a cast to its interface. It takes no requests as bytes.
#pragma once

#include <mutex>

#include "linux/bus/death_recipients.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Linux {

// Any thread.
class LocalObject : public IRemoteObject {
public:
    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    // The process that would be told is the one that dies: recipients are kept and never told.
    bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override;
    bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) override;

private:
    std::mutex mutex_;
    DeathRecipients recipients_;  // guarded by mutex_
};

}  // namespace ZYNE::Linux
