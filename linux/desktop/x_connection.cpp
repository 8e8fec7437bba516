#include "linux/desktop/x_connection.h"

#include <array>
#include <bit>
#include <cstdlib>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>

#include <xcb/randr.h>
#include <xcb/xinput.h>

namespace ZYNE::Linux {
namespace {

constexpr uint32_t RAW_EVENTS = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
    XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
constexpr uint16_t DISPLAY_EVENTS =
    XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE;

// The server counts keys from 8 where the kernel counts from 0.
constexpr uint32_t FIRST_KEY_CODE = 8;
constexpr uint32_t LAST_CODE = 255;

struct DeviceEvents {
    xcb_input_event_mask_t head;
    uint32_t mask;
};

// Whether request number `earlier` was made before number `later`; the numbers wrap around.
bool IsBefore(uint32_t earlier, uint32_t later) {
    return static_cast<int32_t>(earlier - later) < 0;
}

double ToDouble(const xcb_input_fp3232_t& value) {
    constexpr double UNIT = 4294967296.0;
    return value.integral + value.frac / UNIT;
}

// The test extension's devices carry this at the end of their names; they report distances and coordinates alike.
bool IsTestDevice(std::string_view name) {
    return name.ends_with("XTEST pointer");
}

RawInput::Motion MotionOf(const xcb_input_xi_device_info_t& device) {
    const char* name = xcb_input_xi_device_info_name(&device);
    if (IsTestDevice({name, static_cast<size_t>(xcb_input_xi_device_info_name_length(&device))})) {
        return RawInput::Motion::EITHER;
    }
    auto at = xcb_input_xi_device_info_classes_iterator(&device);
    for (; at.rem > 0; xcb_input_device_class_next(&at)) {
        const auto* axis = reinterpret_cast<const xcb_input_valuator_class_t*>(at.data);
        if (axis->type == XCB_INPUT_DEVICE_CLASS_TYPE_VALUATOR && axis->number == 0 &&
            axis->mode == XCB_INPUT_VALUATOR_MODE_ABSOLUTE) {
            return RawInput::Motion::ABSOLUTE;
        }
    }
    return RawInput::Motion::RELATIVE;
}

// What the device itself reported on its axes 0 and 1. Empty when the report is about other axes, such as the wheel's,
// or the event is shorter than it says.
std::optional<std::pair<double, double>> Axes(const xcb_input_raw_motion_event_t& event) {
    const auto* mask = reinterpret_cast<const uint32_t*>(&event + 1);
    const size_t maskSize = event.valuators_len;
    if (maskSize == 0 || maskSize > event.length) {
        return std::nullopt;
    }
    size_t count = 0;
    for (const uint32_t word : std::span(mask, maskSize)) {
        count += static_cast<size_t>(std::popcount(word));
    }
    constexpr size_t WORDS_PER_AXIS = 2 * sizeof(xcb_input_fp3232_t) / sizeof(uint32_t);
    if ((mask[0] & 3U) == 0 || maskSize + count * WORDS_PER_AXIS > event.length) {
        return std::nullopt;
    }
    // The values after the server's acceleration come first.
    const auto* value = reinterpret_cast<const xcb_input_fp3232_t*>(mask + maskSize) + count;
    const double x = (mask[0] & 1U) != 0 ? ToDouble(*value++) : 0;
    const double y = (mask[0] & 2U) != 0 ? ToDouble(*value) : 0;
    return std::pair(x, y);
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

void XConnection::Free::operator()(void* reply) const {
    std::free(reply);
}

void XConnection::Free::operator()(xcb_connection_t* connection) const {
    xcb_disconnect(connection);
}

std::unique_ptr<XConnection> XConnection::Open(const std::string& display) {
    int screenNumber = 0;
    ConnectionPtr connection(xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber));
    if (xcb_connection_has_error(connection.get()) != 0) {
        throw std::runtime_error("no X server can be reached");
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        throw std::runtime_error("the X server has no screen");
    }
    std::unique_ptr<XConnection> opened(new XConnection(std::move(connection), *screens.data));
    opened->UseDisplays();
    opened->LearnDevices();
    opened->UseInput();
    return opened;
}

XConnection::XConnection(ConnectionPtr connection, const xcb_screen_t& screen)
    : connection_(std::move(connection)), root_(screen.root) {
    rootArea_ = {"screen", 0, 0, screen.width_in_pixels, screen.height_in_pixels, true};
}

// Asks for the pointer before it reads events: the answer includes what happened up to then, the rest comes as events.
void XConnection::UseInput() {
    const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_input_id);
    if (extension == nullptr || extension->present == 0) {
        throw std::runtime_error("the X server has no input extension");
    }
    inputOpcode_ = extension->major_opcode;
    const ReplyPtr<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection_.get(), xcb_input_xi_query_version(connection_.get(), 2, 2), nullptr));
    if (!version || version->major_version < 2 || (version->major_version == 2 && version->minor_version < 2)) {
        throw std::runtime_error("the X server's input extension is older than 2.2");
    }
    ReadBurst(opening_);
    const std::array<DeviceEvents, 2> events{{{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, RAW_EVENTS},
        {{XCB_INPUT_DEVICE_ALL, 1}, XCB_INPUT_XI_EVENT_MASK_HIERARCHY}}};
    const ReplyPtr<xcb_generic_error_t> error(xcb_request_check(connection_.get(),
        xcb_input_xi_select_events_checked(connection_.get(), root_, events.size(), &events[0].head)));
    if (error || !IsAlive()) {
        throw std::runtime_error("the X server does not tell of raw input");
    }
}

void XConnection::UseDisplays() {
    const uint32_t rootEvents = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), root_, XCB_CW_EVENT_MASK, &rootEvents);
    const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_randr_id);
    if (extension == nullptr || extension->present == 0) {
        return;
    }
    const ReplyPtr<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(connection_.get(), xcb_randr_query_version(connection_.get(), 1, 5), nullptr));
    if (version && version->major_version == 1 && version->minor_version >= 5) {
        firstDisplayEvent_ = extension->first_event;
        xcb_randr_select_input(connection_.get(), root_, DISPLAY_EVENTS);
    }
}

void XConnection::LearnDevices() {
    devices_.clear();
    const ReplyPtr<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
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
    const ReplyPtr<xcb_query_pointer_reply_t> answer(xcb_query_pointer_reply(connection_.get(), question, nullptr));
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
        return TakeSwitch(raw, RawInput::Kind::KEY, FIRST_KEY_CODE, burst);
    default:
        return;
    }
}

void XConnection::TakeMotion(const xcb_input_raw_motion_event_t& event, Burst& burst) {
    const auto axes = Axes(event);
    if (!axes) {
        return;
    }
    RawInput input;
    input.deviceId = event.sourceid;
    const auto device = devices_.find(event.sourceid);
    input.motion = device != devices_.end() ? device->second : RawInput::Motion::RELATIVE;
    std::tie(input.x, input.y) = *axes;
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
    const ReplyPtr<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(connection_.get(), xcb_randr_get_monitors(connection_.get(), root_, 1), nullptr));
    if (!reply) {
        return displays;
    }
    for (auto at = xcb_randr_get_monitors_monitors_iterator(reply.get()); at.rem > 0;
         xcb_randr_monitor_info_next(&at)) {
        const xcb_randr_monitor_info_t& monitor = *at.data;
        displays.push_back(
            {AtomName(monitor.name), monitor.x, monitor.y, monitor.width, monitor.height, monitor.primary != 0});
    }
    return displays;
}

std::string XConnection::AtomName(xcb_atom_t atom) {
    const ReplyPtr<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(connection_.get(), xcb_get_atom_name(connection_.get(), atom), nullptr));
    return reply ? std::string(xcb_get_atom_name_name(reply.get()),
                       static_cast<size_t>(xcb_get_atom_name_name_length(reply.get())))
                 : std::string();
}

}  // namespace ZYNE::Linux
