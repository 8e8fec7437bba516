// What everything that talks to an X server needs: a connection, owners of what it answers, and how its input is read.
//
// XCB: there a server that goes away is an error of this connection, whereas Xlib ends the process or needs a handler
// that all libraries in the process share.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace ZYNE::Linux {

struct FreeOfX {
    void operator()(void* reply) const;
    void operator()(xcb_connection_t* connection) const;
};
template <typename Reply>
using XReply = std::unique_ptr<Reply, FreeOfX>;
using XEvent = XReply<xcb_generic_event_t>;

struct XLink {
    std::unique_ptr<xcb_connection_t, FreeOfX> connection;
    const xcb_screen_t* screen = nullptr;  // the connection's
};

// `display` such as ":1", or empty for the one of the environment. Throws std::runtime_error with one line when there
// is no such server.
XLink OpenX(const std::string& display);

// Makes the server tell of raw input whoever has a grab, and of devices by themselves. Returns the code of its events.
// Throws std::runtime_error with one line when it cannot.
uint8_t UseXInput(xcb_connection_t* connection);
// Has the server tell of monitors. Returns its first event, or 0 when it has no monitors to tell of.
uint8_t UseXMonitors(xcb_connection_t* connection, xcb_window_t root);

// A raw event is about keys and buttons from 8 and 1 on; the server counts keys from 8 where the kernel counts from 0.
inline constexpr uint32_t X_FIRST_KEY = 8;
inline constexpr uint32_t X_RAW_EVENTS = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS |
    XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE | XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;

// Whether request number `earlier` was made before number `later`; the numbers wrap around.
bool IsBefore(uint32_t earlier, uint32_t later);

double ToDouble(const xcb_input_fp3232_t& value);

std::string_view NameOf(const xcb_input_xi_device_info_t& device);
// The test extension's devices carry this at the end of their names; they report distances and coordinates alike.
bool IsTestPointer(std::string_view name);
// The axis of that number; null when the device has none.
const xcb_input_valuator_class_t* AxisOf(const xcb_input_xi_device_info_t& device, uint16_t number);

// What the device itself reported, or what the server's acceleration made of it.
enum class XValues { REPORTED, ACCELERATED };
// The values of axes 0 and 1; nothing for an axis that the report is not about. Empty when it is about neither, such as
// the wheel's, or the event is shorter than it says.
struct XAxes {
    std::optional<double> x;
    std::optional<double> y;
};
std::optional<XAxes> RawAxes(const xcb_input_raw_motion_event_t& event, XValues values);

struct XMonitor {
    std::string name;
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
    bool isPrimary;
};
// Empty when the server has switched all of them off, or is lost.
std::vector<XMonitor> GetXMonitors(xcb_connection_t* connection, xcb_window_t root);

}  // namespace ZYNE::Linux
