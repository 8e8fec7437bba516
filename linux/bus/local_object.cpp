#include "linux/bus/local_object.h"

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
    recipients_.Add(recipient);
    return true;
}

bool LocalObject::RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) {
    sptr<DeathRecipient> removed;  // let go of behind the lock: it may be the last reference
    const std::scoped_lock lock(mutex_);
    removed = recipients_.Remove(recipient);
    return static_cast<bool>(removed);
}

}  // namespace ZYNE::Linux
