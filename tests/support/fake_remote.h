// A process that answers requests, and can die.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "platform/ipc/remote_object.h"
#include "tests/support/journal.h"

namespace ZYNE::Testing {

// Any thread.
class FakeRemote final : public IRemoteObject {
public:
    using Handler = std::function<int32_t(uint32_t code, MessageParcel& data, MessageParcel& reply)>;

    // Writes "SendRequest(name, code, flags, wait)" into the journal; one without a name writes nothing.
    FakeRemote(Journal& journal, std::string name, Handler handler)
        : journal_(journal), name_(std::move(name)), handler_(std::move(handler)) {}

    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override {
        if (!name_.empty()) {
            journal_.Call("SendRequest(" + name_ + ", " + std::to_string(code) + ", " +
                std::to_string(option.GetFlags()) + ", " + std::to_string(option.GetWaitTime()) + ")");
        }
        return dead_ ? static_cast<int32_t>(DEAD) : handler_(code, data, reply);
    }
    bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override {
        std::lock_guard lock(mutex_);
        if (!dead_) {
            recipients_.push_back(recipient);
        }
        return !dead_;
    }
    bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) override {
        std::lock_guard lock(mutex_);
        return std::erase(recipients_, recipient) > 0;
    }

    // Tells every recipient.
    void Die() {
        std::unique_lock lock(mutex_);
        dead_ = true;
        const auto recipients = recipients_;
        lock.unlock();
        for (const auto& recipient : recipients) {
            recipient->OnRemoteDied(wptr<IRemoteObject>(this));
        }
    }
    size_t RecipientCount() {
        std::lock_guard lock(mutex_);
        return recipients_.size();
    }

private:
    Journal& journal_;
    const std::string name_;
    const Handler handler_;
    std::mutex mutex_;
    std::atomic<bool> dead_{false};
    std::vector<sptr<DeathRecipient>> recipients_;  // guarded by mutex_
};

}  // namespace ZYNE::Testing
