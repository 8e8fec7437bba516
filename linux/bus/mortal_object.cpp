#include "linux/bus/mortal_object.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {

MortalObject::MortalObject(Post post) : post_(std::move(post)) {}

bool MortalObject::AddDeathRecipient(const sptr<DeathRecipient>& recipient) {
    const MutexLock lock(mutex_);
    if (dead_ || !recipient) {
        return false;
    }
    recipients_.push_back(recipient);
    return true;
}

bool MortalObject::RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) {
    const MutexLock lock(mutex_);
    const auto found = std::ranges::find(recipients_, recipient);
    if (found == recipients_.end()) {
        return false;
    }
    recipients_.erase(found);  // not the last reference: the caller has one
    return true;
}

bool MortalObject::IsDead() const {
    const MutexLock lock(mutex_);
    return dead_;
}

bool MortalObject::Die() {
    {
        const MutexLock lock(mutex_);
        if (std::exchange(dead_, true)) {
            return false;
        }
        if (recipients_.empty()) {
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
    const MutexLock lock(mutex_);
    if (recipients_.empty()) {
        return nullptr;
    }
    sptr<DeathRecipient> first = std::move(recipients_.front());
    recipients_.pop_front();
    return first;
}

}  // namespace ZYNE::Linux
