// Hears that a client process has died and has its callback forgotten.
#pragma once

#include <memory>
#include <utility>

#include "platform/ipc/remote_object.h"

namespace ZYNE::CollaborationFwk {

class KeyMouseEventListener;

// On a thread of the port. Remote objects hold it strongly; it holds its listener weakly.
class KeyMouseCallbackDeathRecipient final : public IRemoteObject::DeathRecipient {
public:
    explicit KeyMouseCallbackDeathRecipient(std::weak_ptr<KeyMouseEventListener> listener)
        : listener_(std::move(listener)) {}

    void OnRemoteDied(const wptr<IRemoteObject>& remote) override;

private:
    const std::weak_ptr<KeyMouseEventListener> listener_;
};

}  // namespace ZYNE::CollaborationFwk
