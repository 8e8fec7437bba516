// What a client process offers to hear about key-mouse events.
#pragma once

#include <cstdint>

#include "platform/ipc/remote_broker.h"
#include "plugin/key_mouse/key_mouse_keyboard_event.h"
#include "plugin/key_mouse/key_mouse_move_to_edge_event.h"
#include "plugin/key_mouse/key_mouse_screen_status.h"
#include "plugin/key_mouse/key_mouse_switch_state.h"

namespace ZYNE::CollaborationFwk {

// Each request is synchronous: the interface token, then the record's fields in the order of their declaration. Nothing
// is read of the reply.
class IKeyMouseCallback : public IRemoteBroker {
public:
    static constexpr char16_t DESCRIPTOR[] = u"ZYNE.CollaborationFwk.IKeyMouseCallback";

    enum RequestCode : uint32_t {
        DEVICE_STATUS_CHANGED = 1,
        DEVICE_SCREEN_STATUS_CHANGED = 2,
        KEYBOARD_EVENT = 3,
        MOVE_TO_EDGE_EVENT = 4,
    };

    // Every operation: 0 sent; 1006 or 1007 the request could not be written; 1009 there is no client; otherwise the
    // transport's error.
    virtual int32_t OnDeviceStatusChanged(const KeyMouseSwitchState& state) = 0;
    virtual int32_t OnDeviceScreenStatusChanged(const KeyMouseScreenStatus& status) = 0;
    virtual int32_t OnKeyboardEvent(const KeyMouseKeyboardEvent& event) = 0;
    virtual int32_t OnMoveToEdgeEvent(const KeyMouseMoveToEdgeEvent& event) = 0;
};

}  // namespace ZYNE::CollaborationFwk
