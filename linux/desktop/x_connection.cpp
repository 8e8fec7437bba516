#include "linux/desktop/x_connection.h"

#include <array>
#include <stdexcept>
#include <utility>

#include <xcb/randr.h>
#include <xcb/xinput.h>

namespace ZYNE::Linux {
namespace {

constexpr uint32_t LAST_CODE = 255;

struct DeviceEvents {
    xcb_input_event_mask_t head;
    uint32_t mask;
};

RawInput::Motion MotionOf(const xcb_input_xi_device_info_t& device) {
    if (IsTestPointer(NameOf(device))) {
        return RawInput::Motion::EITHER;
    }
    const auto* axis = AxisOf(device, 0);
    return axis != nullptr && axis->mode == XCB_INPUT_VALUATOR_MODE_ABSOLUTE ? RawInput::Motion::ABSOLUTE
                                                                             : RawInput::Motion::RELATIVE;
}

std::set<int32_t> ButtonsOf(uint16_t state) {
    std::set<int32_t> buttons;
    for (int32_t button = 1; button <= 3; ++button) {
        if ((state & (XCB_BUTTON_MASK_1 << (button - 1))) != 0) {
            buttons.insert(button);
        }
    }
    return buttons;
}

}  // namespace

std::unique_ptr<XConnection> XConnection::Open(const std::string& display) {
    std::unique_ptr<XConnection> opened(new XConnection(OpenX(display)));
    opened->UseDisplays();
    opened->LearnDevices();
    opened->UseInput();
    return opened;
}

XConnection::XConnection(XLink link) : connection_(std::move(link.connection)), root_(link.screen->root) {
    rootArea_ = {"screen", 0, 0, link.screen->width_in_pixels, link.screen->height_in_pixels, true};
}

// Asks for the pointer before it reads events: the answer includes what happened up to then, the rest comes as events.
void XConnection::UseInput() {
    inputOpcode_ = UseXInput(connection_.get());
    ReadBurst(opening_);
    const std::array<DeviceEvents, 2> events{{{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, X_RAW_EVENTS},
        {{XCB_INPUT_DEVICE_ALL, 1}, XCB_INPUT_XI_EVENT_MASK_HIERARCHY}}};
    const XReply<xcb_generic_error_t> error(xcb_request_check(connection_.get(),
        xcb_input_xi_select_events_checked(connection_.get(), root_, events.size(), &events[0].head)));
    if (error || !IsAlive()) {
        throw std::runtime_error("the X server does not tell of raw input");
    }
}

void XConnection::UseDisplays() {
    const uint32_t rootEvents = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), root_, XCB_CW_EVENT_MASK, &rootEvents);
    firstDisplayEvent_ = UseXMonitors(connection_.get(), root_);
}

void XConnection::LearnDevices() {
    devices_.clear();
    const XReply<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
        connection_.get(), xcb_input_xi_query_device(connection_.get(), XCB_INPUT_DEVICE_ALL), nullptr));
    if (!reply) {
        return;
    }
    for (auto at = xcb_input_xi_query_device_infos_iterator(reply.get()); at.rem > 0;
         xcb_input_xi_device_info_next(&at)) {
        devices_[at.data->deviceid] = MotionOf(*at.data);
    }
}

int XConnection::Fd() const {
    return xcb_get_file_descriptor(connection_.get());
}

bool XConnection::IsAlive() const {
    return xcb_connection_has_error(connection_.get()) == 0;
}

bool XConnection::HasEvent() {
    if (!next_) {
        next_.reset(xcb_poll_for_event(connection_.get()));
    }
    return next_ != nullptr;
}

// An event that the server made before it answered comes before the answer, with the number of an earlier request.
bool XConnection::ReadBurst(Burst& burst) {
    const auto question = xcb_query_pointer(connection_.get(), root_);
    const XReply<xcb_query_pointer_reply_t> answer(xcb_query_pointer_reply(connection_.get(), question, nullptr));
    if (!answer) {
        return false;
    }
    burst.pointer = {answer->root_x, answer->root_y};
    burst.pressedButtons = ButtonsOf(answer->mask);
    if (!next_) {
        next_.reset(xcb_poll_for_queued_event(connection_.get()));
    }
    while (next_ && IsBefore(next_->full_sequence, question.sequence)) {
        Take(*next_, burst);
        next_.reset(xcb_poll_for_queued_event(connection_.get()));
    }
    return true;
}

void XConnection::Take(const xcb_generic_event_t& event, Burst& burst) {
    const int type = event.response_type & 0x7f;
    if (type == XCB_GE_GENERIC) {
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
        if (generic.extension == inputOpcode_) {
            TakeInput(generic, burst);
        }
    } else if (type == XCB_CONFIGURE_NOTIFY) {
        const auto& change = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        rootArea_.width = change.width;
        rootArea_.height = change.height;
        burst.displaysChanged = true;
    } else if (firstDisplayEvent_ != 0 &&
        (type == firstDisplayEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
            type == firstDisplayEvent_ + XCB_RANDR_NOTIFY)) {
        burst.displaysChanged = true;
    }
}

void XConnection::TakeInput(const xcb_ge_generic_event_t& event, Burst& burst) {
    const auto& raw = reinterpret_cast<const xcb_input_raw_motion_event_t&>(event);
    switch (event.event_type) {
    case XCB_INPUT_HIERARCHY:
        return LearnDevices();
    case XCB_INPUT_RAW_MOTION:
        return TakeMotion(raw, burst);
    case XCB_INPUT_RAW_BUTTON_PRESS:
    case XCB_INPUT_RAW_BUTTON_RELEASE:
        return TakeSwitch(raw, RawInput::Kind::BUTTON, 0, burst);
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE:
        return TakeSwitch(raw, RawInput::Kind::KEY, X_FIRST_KEY, burst);
    default:
        return;
    }
}

void XConnection::TakeMotion(const xcb_input_raw_motion_event_t& event, Burst& burst) {
    const auto axes = RawAxes(event, XValues::REPORTED);
    if (!axes) {
        return;
    }
    RawInput input;
    input.deviceId = event.sourceid;
    const auto device = devices_.find(event.sourceid);
    input.motion = device != devices_.end() ? device->second : RawInput::Motion::RELATIVE;
    input.x = axes->x.value_or(0);
    input.y = axes->y.value_or(0);
    burst.inputs.push_back(input);
}

void XConnection::TakeSwitch(
    const xcb_input_raw_motion_event_t& event, RawInput::Kind kind, uint32_t firstCode, Burst& burst) {
    if (event.detail < firstCode || event.detail > LAST_CODE) {
        return;
    }
    RawInput input;
    input.kind = kind;
    input.deviceId = event.sourceid;
    input.code = static_cast<int32_t>(event.detail - firstCode);
    input.isPressed = event.event_type == XCB_INPUT_RAW_KEY_PRESS || event.event_type == XCB_INPUT_RAW_BUTTON_PRESS;
    burst.inputs.push_back(input);
}

std::vector<DisplayArea> XConnection::GetDisplays() {
    if (firstDisplayEvent_ == 0) {
        return {rootArea_};
    }
    std::vector<DisplayArea> displays;
    for (XMonitor& monitor : GetXMonitors(connection_.get(), root_)) {
        displays.push_back(
            {std::move(monitor.name), monitor.x, monitor.y, monitor.width, monitor.height, monitor.isPrimary});
    }
    return displays;
}

}  // namespace ZYNE::Linux
