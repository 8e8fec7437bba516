#include "platform/ipc/remote_broker.h"

#include <utility>

namespace ZYNE {

IRemoteObject::DeathRecipient::~DeathRecipient() = default;

BrokerRegistration& BrokerRegistration::GetInstance() {
    // Never destroyed: libraries unregister while they are unloaded, in whatever order.
    static auto* const instance = new BrokerRegistration;
    return *instance;
}

bool BrokerRegistration::Register(const std::u16string& descriptor, Factory factory) {
    std::lock_guard lock(mutex_);
    return factories_.emplace(descriptor, std::move(factory)).second;
}

void BrokerRegistration::Unregister(const std::u16string& descriptor) {
    std::lock_guard lock(mutex_);
    factories_.erase(descriptor);
}

sptr<IRemoteBroker> BrokerRegistration::NewInstance(
    const std::u16string& descriptor, const sptr<IRemoteObject>& remote) {
    Factory factory;
    {
        std::lock_guard lock(mutex_);
        const auto found = factories_.find(descriptor);
        if (found != factories_.end()) {
            factory = found->second;
        }
    }
    return remote && factory ? factory(remote) : nullptr;
}

}  // namespace ZYNE
