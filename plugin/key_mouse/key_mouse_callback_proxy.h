// Sends key-mouse events to one client process.
#pragma once

#include <cstdint>
#include <string>

#include "plugin/key_mouse/i_key_mouse_callback.h"

namespace ZYNE::CollaborationFwk {

// Any thread. An operation blocks until the client has answered, for eight seconds at most. Made of a remote object by
// iface_cast<IKeyMouseCallback>.
class KeyMouseCallbackProxy final : public IRemoteProxy<IKeyMouseCallback> {
public:
    explicit KeyMouseCallbackProxy(const sptr<IRemoteObject>& remote) : IRemoteProxy(remote) {}
    ~KeyMouseCallbackProxy() override = default;

    int32_t OnDeviceStatusChanged(const KeyMouseSwitchState& state) override;
    int32_t OnDeviceScreenStatusChanged(const KeyMouseScreenStatus& status) override;
    int32_t OnKeyboardEvent(const KeyMouseKeyboardEvent& event) override;
    int32_t OnMoveToEdgeEvent(const KeyMouseMoveToEdgeEvent& event) override;
};

}  // namespace ZYNE::CollaborationFwk
