#include "linux/desktop/x_link.h"

#include <bit>
#include <cstdlib>
#include <span>
#include <stdexcept>

#include <xcb/randr.h>

namespace ZYNE::Linux {
namespace {

constexpr uint16_t DISPLAY_EVENTS =
    XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE;

}  // namespace

void FreeOfX::operator()(void* reply) const {
    std::free(reply);
}

void FreeOfX::operator()(xcb_connection_t* connection) const {
    xcb_disconnect(connection);
}

XLink OpenX(const std::string& display) {
    int screenNumber = 0;
    XLink link;
    link.connection.reset(xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber));
    if (xcb_connection_has_error(link.connection.get()) != 0) {
        throw std::runtime_error("no X server can be reached");
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(link.connection.get()));
    for (; screenNumber > 0 && screens.rem > 1; --screenNumber) {
        xcb_screen_next(&screens);
    }
    if (screens.rem == 0) {
        throw std::runtime_error("the X server has no screen");
    }
    link.screen = screens.data;
    return link;
}

uint8_t UseXInput(xcb_connection_t* connection) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (extension == nullptr || extension->present == 0) {
        throw std::runtime_error("the X server has no input extension");
    }
    const XReply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    if (!version || version->major_version < 2 || (version->major_version == 2 && version->minor_version < 2)) {
        throw std::runtime_error("the X server's input extension is older than 2.2");
    }
    return extension->major_opcode;
}

uint8_t UseXMonitors(xcb_connection_t* connection, xcb_window_t root) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_randr_id);
    if (extension == nullptr || extension->present == 0) {
        return 0;
    }
    const XReply<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(connection, xcb_randr_query_version(connection, 1, 5), nullptr));
    if (!version || version->major_version != 1 || version->minor_version < 5) {
        return 0;
    }
    xcb_randr_select_input(connection, root, DISPLAY_EVENTS);
    return extension->first_event;
}

bool IsBefore(uint32_t earlier, uint32_t later) {
    return static_cast<int32_t>(earlier - later) < 0;
}

double ToDouble(const xcb_input_fp3232_t& value) {
    constexpr double UNIT = 4294967296.0;
    return value.integral + value.frac / UNIT;
}

std::string_view NameOf(const xcb_input_xi_device_info_t& device) {
    return {xcb_input_xi_device_info_name(&device), static_cast<size_t>(xcb_input_xi_device_info_name_length(&device))};
}

bool IsTestPointer(std::string_view name) {
    return name.ends_with("XTEST pointer");
}

const xcb_input_valuator_class_t* AxisOf(const xcb_input_xi_device_info_t& device, uint16_t number) {
    auto at = xcb_input_xi_device_info_classes_iterator(&device);
    for (; at.rem > 0; xcb_input_device_class_next(&at)) {
        const auto* axis = reinterpret_cast<const xcb_input_valuator_class_t*>(at.data);
        if (axis->type == XCB_INPUT_DEVICE_CLASS_TYPE_VALUATOR && axis->number == number) {
            return axis;
        }
    }
    return nullptr;
}

std::optional<XAxes> RawAxes(const xcb_input_raw_motion_event_t& event, XValues values) {
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
    // All values after the server's acceleration come first, then all that the device itself reported.
    const auto* value = reinterpret_cast<const xcb_input_fp3232_t*>(mask + maskSize);
    if (values == XValues::REPORTED) {
        value += count;
    }
    XAxes axes;
    if ((mask[0] & 1U) != 0) {
        axes.x = ToDouble(*value++);
    }
    if ((mask[0] & 2U) != 0) {
        axes.y = ToDouble(*value);
    }
    return axes;
}

std::vector<XMonitor> GetXMonitors(xcb_connection_t* connection, xcb_window_t root) {
    std::vector<XMonitor> monitors;
    const XReply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(connection, xcb_randr_get_monitors(connection, root, 1), nullptr));
    if (!reply) {
        return monitors;
    }
    std::vector<xcb_get_atom_name_cookie_t> names;
    for (auto at = xcb_randr_get_monitors_monitors_iterator(reply.get()); at.rem > 0;
         xcb_randr_monitor_info_next(&at)) {
        const xcb_randr_monitor_info_t& monitor = *at.data;
        monitors.push_back({"", monitor.x, monitor.y, monitor.width, monitor.height, monitor.primary != 0});
        names.push_back(xcb_get_atom_name(connection, monitor.name));
    }
    for (size_t index = 0; index < names.size(); ++index) {
        const XReply<xcb_get_atom_name_reply_t> name(xcb_get_atom_name_reply(connection, names[index], nullptr));
        if (name) {
            monitors[index].name.assign(
                xcb_get_atom_name_name(name.get()), static_cast<size_t>(xcb_get_atom_name_name_length(name.get())));
        }
    }
    return monitors;
}

}  // namespace ZYNE::Linux
