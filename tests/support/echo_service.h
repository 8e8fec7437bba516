// An app's service that answers every item with the item's name, for tests with threads.
#pragma once

#include <mutex>
#include <vector>

#include "platform/ipc/message_parcel.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Testing {

// Any thread.
class EchoService final : public IRemoteObject {
public:
    int32_t SendRequest(uint32_t, MessageParcel& data, MessageParcel& reply, MessageOption&) override {
        reply.WriteUint32(0);
        reply.WriteString16(data.ReadString16());
        return 0;
    }
    bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override {
        std::lock_guard lock(mutex_);
        recipients_.push_back(recipient);
        return true;
    }
    bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) override {
        std::lock_guard lock(mutex_);
        return std::erase(recipients_, recipient) > 0;
    }
    void Die() {
        std::unique_lock lock(mutex_);
        const auto recipients = recipients_;
        lock.unlock();
        for (const auto& recipient : recipients) {
            recipient->OnRemoteDied(wptr<IRemoteObject>(this));
        }
    }

private:
    std::mutex mutex_;
    std::vector<sptr<DeathRecipient>> recipients_;  // guarded by mutex_
};

}  // namespace ZYNE::Testing
