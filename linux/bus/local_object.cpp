#include "linux/bus/local_object.h"

#include <algorithm>

namespace ZYNE::Linux {

int32_t LocalObject::SendRequest(
    uint32_t /*code*/, MessageParcel& /*data*/, MessageParcel& /*reply*/, MessageOption& /*option*/) {
    return REFUSED;
}

bool LocalObject::AddDeathRecipient(const sptr<DeathRecipient>& recipient) {
    if (!recipient) {
        return false;
    }
    const std::scoped_lock lock(mutex_);
    recipients_.push_back(recipient);
    return true;
}

bool LocalObject::RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) {
    sptr<DeathRecipient> removed;  // let go of behind the lock: it may be the last reference
    const std::scoped_lock lock(mutex_);
    const auto found = std::find(recipients_.begin(), recipients_.end(), recipient);
    if (found == recipients_.end()) {
        return false;
    }
    removed = *found;
    recipients_.erase(found);
    return true;
}

}  // namespace ZYNE::Linux
