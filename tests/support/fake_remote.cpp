#include "tests/support/fake_remote.h"

#include <algorithm>

namespace ZYNE::Testing {

int32_t FakeRemote::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) {
    journal_.Call("SendRequest(" + name_ + ", " + std::to_string(code) + ", " + std::to_string(option.GetFlags()) +
        ", " + std::to_string(option.GetWaitTime()) + ")");
    return dead_ ? static_cast<int32_t>(DEAD) : handler_(code, data, reply);
}

bool FakeRemote::AddDeathRecipient(const sptr<DeathRecipient>& recipient) {
    if (dead_) {
        return false;
    }
    recipients_.push_back(recipient);
    return true;
}

bool FakeRemote::RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) {
    const auto found = std::find(recipients_.begin(), recipients_.end(), recipient);
    if (found == recipients_.end()) {
        return false;
    }
    recipients_.erase(found);
    return true;
}

void FakeRemote::Die() {
    dead_ = true;
    for (const auto& recipient : std::vector(recipients_)) {
        recipient->OnRemoteDied(wptr<IRemoteObject>(this));
    }
}

}  // namespace ZYNE::Testing
