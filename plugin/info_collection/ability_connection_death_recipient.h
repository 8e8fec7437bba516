// Hears that the service behind an app connection has died.
#pragma once

#include <functional>
#include <utility>

#include "platform/ipc/remote_object.h"

namespace ZYNE::CollaborationFwk {

class AbilityConnectionDeathRecipient final : public IRemoteObject::DeathRecipient {
public:
    explicit AbilityConnectionDeathRecipient(std::function<void()> deathHandler)
        : deathHandler_(std::move(deathHandler)) {}

    void OnRemoteDied(const wptr<IRemoteObject>& remote) override;

private:
    const std::function<void()> deathHandler_;
};

}  // namespace ZYNE::CollaborationFwk
