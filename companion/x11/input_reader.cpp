#include "companion/x11/input_reader.h"

#include <array>
#include <stdexcept>

#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {
namespace {

struct DeviceEvents {
    xcb_input_event_mask_t head;
    uint32_t mask;
};

MotionDevice::Range RangeOf(const xcb_input_valuator_class_t* axis) {
    return axis != nullptr ? MotionDevice::Range{Linux::ToDouble(axis->min), Linux::ToDouble(axis->max)}
                           : MotionDevice::Range{};
}

MotionDevice MotionOf(const xcb_input_xi_device_info_t& device) {
    const auto* x = Linux::AxisOf(device, 0);
    MotionDevice motion;
    if (Linux::IsTestPointer(Linux::NameOf(device))) {
        motion.kind = MotionDevice::Kind::EITHER;
    } else if (x != nullptr && x->mode == XCB_INPUT_VALUATOR_MODE_ABSOLUTE) {
        motion = {MotionDevice::Kind::COORDINATES, RangeOf(x), RangeOf(Linux::AxisOf(device, 1))};
    }
    return motion;
}

int32_t ToPixels(xcb_input_fp1616_t value) {
    return value >> 16;
}

}  // namespace

InputReader::InputReader(xcb_connection_t* connection, xcb_window_t root)
    : connection_(connection), opcode_(Linux::UseXInput(connection)) {
    const std::array<DeviceEvents, 2> events{{{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, Linux::X_RAW_EVENTS},
        {{XCB_INPUT_DEVICE_ALL, 1}, XCB_INPUT_XI_EVENT_MASK_HIERARCHY}}};
    const Linux::XReply<xcb_generic_error_t> error(xcb_request_check(
        connection, xcb_input_xi_select_events_checked(connection, root, events.size(), &events[0].head)));
    LearnDevices();
    if (error || pointer_ == 0 || keyboard_ == 0) {
        throw std::runtime_error("the X server does not tell of raw input");
    }
}

void InputReader::LearnDevices() {
    const auto masterCookie = xcb_input_xi_get_client_pointer(connection_, XCB_NONE);
    const auto devicesCookie = xcb_input_xi_query_device(connection_, XCB_INPUT_DEVICE_ALL);
    const Linux::XReply<xcb_input_xi_get_client_pointer_reply_t> master(
        xcb_input_xi_get_client_pointer_reply(connection_, masterCookie, nullptr));
    const Linux::XReply<xcb_input_xi_query_device_reply_t> reply(
        xcb_input_xi_query_device_reply(connection_, devicesCookie, nullptr));
    if (!reply || !master) {
        return;
    }
    devices_.clear();
    testDevices_.clear();
    pointer_ = master->deviceid;
    for (auto at = xcb_input_xi_query_device_infos_iterator(reply.get()); at.rem > 0;
         xcb_input_xi_device_info_next(&at)) {
        LearnDevice(*at.data);
    }
}

void InputReader::LearnDevice(const xcb_input_xi_device_info_t& device) {
    if (device.deviceid == pointer_) {
        keyboard_ = device.attachment;
    }
    devices_[device.deviceid] = MotionOf(device);
    if (Linux::NameOf(device).ends_with("XTEST pointer") || Linux::NameOf(device).ends_with("XTEST keyboard")) {
        testDevices_.insert(device.deviceid);
    }
}

InputReport InputReader::Read(const xcb_generic_event_t& event) const {
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if ((event.response_type & 0x7f) != XCB_GE_GENERIC || generic.extension != opcode_) {
        return {};
    }
    switch (generic.event_type) {
    case XCB_INPUT_HIERARCHY:
        return DevicesChanged();
    case XCB_INPUT_MOTION: {
        const auto& motion = reinterpret_cast<const xcb_input_motion_event_t&>(event);
        return PointerPlace{{ToPixels(motion.root_x), ToPixels(motion.root_y)}};
    }
    case XCB_INPUT_RAW_MOTION:
        return ReadMotion(reinterpret_cast<const xcb_input_raw_motion_event_t&>(event));
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE:
    case XCB_INPUT_RAW_BUTTON_PRESS:
    case XCB_INPUT_RAW_BUTTON_RELEASE:
        return ReadSwitch(reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event));
    default:
        return {};
    }
}

InputReport InputReader::ReadSwitch(const xcb_input_raw_button_press_event_t& event) const {
    const bool isKey = event.event_type == XCB_INPUT_RAW_KEY_PRESS || event.event_type == XCB_INPUT_RAW_KEY_RELEASE;
    RawReport report;
    report.kind = isKey ? RawReport::Kind::KEY : RawReport::Kind::BUTTON;
    report.device = event.sourceid;
    report.isTestDevice = testDevices_.contains(event.sourceid);
    report.isDown = event.event_type == XCB_INPUT_RAW_KEY_PRESS || event.event_type == XCB_INPUT_RAW_BUTTON_PRESS;
    report.code = event.detail;
    return report;
}

InputReport InputReader::ReadMotion(const xcb_input_raw_motion_event_t& event) const {
    const auto axes = Linux::RawAxes(event, Linux::XValues::ACCELERATED);
    if (!axes) {
        return {};
    }
    RawReport report;
    report.device = event.sourceid;
    report.isTestDevice = testDevices_.contains(event.sourceid);
    report.axes = {axes->x, axes->y};
    return report;
}

}  // namespace ZYNE::Companion
