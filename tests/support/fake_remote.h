// A process that answers requests, and can die.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/ipc/remote_object.h"
#include "tests/support/journal.h"

namespace ZYNE::Testing {

// One thread.
class FakeRemote final : public IRemoteObject {
public:
    using Handler = std::function<int32_t(uint32_t code, MessageParcel& data, MessageParcel& reply)>;

    FakeRemote(Journal& journal, std::string name, Handler handler)
        : journal_(journal), name_(std::move(name)), handler_(std::move(handler)) {}

    // Writes "SendRequest(name, code, flags, wait)" into the journal.
    int32_t SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override;
    bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) override;

    // Tells every recipient.
    void Die();
    size_t RecipientCount() const { return recipients_.size(); }

private:
    Journal& journal_;
    std::string name_;
    Handler handler_;
    bool dead_ = false;
    std::vector<sptr<DeathRecipient>> recipients_;
};

}  // namespace ZYNE::Testing
