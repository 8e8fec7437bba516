#include "linux/bus/mortal_object.h"

#include <utility>

namespace ZYNE::Linux {

MortalObject::MortalObject(Post post) : post_(std::move(post)) {}

bool MortalObject::AddDeathRecipient(const sptr<DeathRecipient>& recipient) {
    const std::scoped_lock lock(mutex_);
    if (dead_ || !recipient) {
        return false;
    }
    recipients_.Add(recipient);
    return true;
}

bool MortalObject::RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) {
    sptr<DeathRecipient> removed;  // let go of behind the lock: it may be the last reference
    const std::scoped_lock lock(mutex_);
    removed = recipients_.Remove(recipient);
    return static_cast<bool>(removed);
}

bool MortalObject::IsDead() const {
    const std::scoped_lock lock(mutex_);
    return dead_;
}

bool MortalObject::Die() {
    {
        const std::scoped_lock lock(mutex_);
        if (std::exchange(dead_, true)) {
            return false;
        }
        if (recipients_.Empty()) {
            return true;
        }
    }
    post_([self = sptr<MortalObject>(this)] { self->TellRecipients(); });
    return true;
}

void MortalObject::TellRecipients() {
    const wptr<IRemoteObject> self(sptr<IRemoteObject>(this));
    while (const sptr<DeathRecipient> recipient = TakeRecipient()) {
        recipient->OnRemoteDied(self);
    }
}

sptr<IRemoteObject::DeathRecipient> MortalObject::TakeRecipient() {
    const std::scoped_lock lock(mutex_);
    return recipients_.TakeFirst();
}

}  // namespace ZYNE::Linux
