// Reads what the server tells of input devices.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <variant>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "companion/x11/motion_meter.h"

namespace ZYNE::Companion {

// What a device reported. Keys and buttons are as the server counts them.
struct RawReport {
    enum class Kind : uint8_t { MOTION, KEY, BUTTON };
    Kind kind = Kind::MOTION;
    uint16_t device = 0;
    bool isTestDevice = false;  // one of those that programs press keys and move the pointer with
    bool isDown = false;        // the key or button
    uint32_t code = 0;          // of the key or button
    AxisValues axes;            // of the motion
};
// The pointer has moved while this connection has it.
struct PointerPlace {
    Point at;
};
struct DevicesChanged {};
using InputReport = std::variant<std::monostate, RawReport, PointerPlace, DevicesChanged>;

// One thread at a time.
class InputReader {
public:
    // From now on the connection gets raw input, and news of devices. Throws std::runtime_error with one line.
    InputReader(xcb_connection_t* connection, xcb_window_t root);

    void LearnDevices();
    const std::map<uint16_t, MotionDevice>& Devices() const { return devices_; }
    // Those that the pointer and the focus of programs belong to.
    uint16_t PointerDevice() const { return pointer_; }
    uint16_t KeyboardDevice() const { return keyboard_; }

    // Nothing when the event is about something else.
    InputReport Read(const xcb_generic_event_t& event) const;

private:
    void LearnDevice(const xcb_input_xi_device_info_t& device);
    InputReport ReadSwitch(const xcb_input_raw_button_press_event_t& event) const;
    InputReport ReadMotion(const xcb_input_raw_button_press_event_t& event) const;

    xcb_connection_t* const connection_;
    uint8_t opcode_ = 0;
    uint16_t pointer_ = 0;
    uint16_t keyboard_ = 0;
    std::map<uint16_t, MotionDevice> devices_;
    std::set<uint16_t> testDevices_;
};

}  // namespace ZYNE::Companion
