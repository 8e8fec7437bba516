// The events of crossing, and how a device sends them to a process that listens.
//
// Each is a request to the object that the process serves on the device's bus, see linux/bus/bus_wire.h. Its parcel
// holds the interface token EVENT_TOKEN, then the fields of the event in the order in which they are declared here:
// int32s, except for strings and the bool `isPressedButtons`.
//
//     1  SwitchEvent    2  ScreenEvent    3  KeyEvent    4  EdgeEvent
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "platform/ipc/message_parcel.h"

namespace ZYNE::Client {

inline constexpr char16_t EVENT_TOKEN[] = u"ZYNE.CollaborationFwk.IKeyMouseCallback";

// A peer switched crossing on or off.
struct SwitchEvent {
    std::string networkId;  // of the peer
    int32_t status;         // 1 on, 0 off
};

// The screen of a peer changed its state.
struct ScreenEvent {
    std::string networkId;
    int32_t status;  // 1 on, 0 off, 2 locked, -1 nobody can tell
};

struct KeyEvent {
    int32_t code;    // of the kernel's input-event-codes.h
    int32_t action;  // 1 pressed, 0 released
};

// The pointer arrived at an edge of a display.
struct EdgeEvent {
    int32_t screenId;
    int32_t x;  // pixels from the display's upper left corner
    int32_t y;
    int32_t rawDx;  // how far the device itself moved, also beyond the edge
    int32_t rawDy;
    int32_t deviceId;  // the input device
    bool isPressedButtons;
};

using CrossingEvent = std::variant<SwitchEvent, ScreenEvent, KeyEvent, EdgeEvent>;

// The event in a request; nothing when the request is not exactly an event. Any process of the user may send requests.
std::optional<CrossingEvent> ReadCrossingEvent(uint32_t code, MessageParcel& data);

}  // namespace ZYNE::Client
