#include "companion/x11/input_grab.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>

#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {

using Linux::XReply;

namespace {

constexpr uint16_t ANY_BUTTON =
    XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3 | XCB_BUTTON_MASK_4 | XCB_BUTTON_MASK_5;

// Raw events of a device that this connection has come by the grab alone, so the grab asks for them.
constexpr uint32_t POINTER_EVENTS = XCB_INPUT_XI_EVENT_MASK_MOTION | XCB_INPUT_XI_EVENT_MASK_RAW_MOTION |
    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
constexpr uint32_t KEYBOARD_EVENTS = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;

xcb_input_xi_grab_device_cookie_t Grab(
    xcb_connection_t* connection, xcb_window_t root, xcb_cursor_t cursor, uint16_t device, const uint32_t& events) {
    return xcb_input_xi_grab_device(connection, root, XCB_CURRENT_TIME, cursor, device, XCB_INPUT_GRAB_MODE_22_ASYNC,
        XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER, 1, &events);
}

// One that shows nothing.
xcb_cursor_t MakeEmptyCursor(xcb_connection_t* connection, xcb_window_t root) {
    const xcb_pixmap_t nothing = xcb_generate_id(connection);
    xcb_create_pixmap(connection, 1, nothing, root, 1, 1);
    const xcb_gcontext_t context = xcb_generate_id(connection);
    constexpr uint32_t BACKGROUND = 0;
    xcb_create_gc(connection, context, nothing, XCB_GC_FOREGROUND, &BACKGROUND);
    constexpr xcb_rectangle_t WHOLE{0, 0, 1, 1};
    xcb_poly_fill_rectangle(connection, nothing, context, 1, &WHOLE);
    const xcb_cursor_t cursor = xcb_generate_id(connection);
    xcb_create_cursor(connection, cursor, nothing, nothing, 0, 0, 0, 0, 0, 0, 0, 0);
    xcb_free_gc(connection, context);
    xcb_free_pixmap(connection, nothing);
    return cursor;
}

bool IsGranted(xcb_connection_t* connection, xcb_input_xi_grab_device_cookie_t cookie) {
    const XReply<xcb_input_xi_grab_device_reply_t> reply(xcb_input_xi_grab_device_reply(connection, cookie, nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

}  // namespace

InputGrab::InputGrab(xcb_connection_t* connection, xcb_window_t root) : connection_(connection), root_(root) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (extension != nullptr && extension->present != 0) {
        const XReply<xcb_xfixes_query_version_reply_t> version(
            xcb_xfixes_query_version_reply(connection, xcb_xfixes_query_version(connection, 5, 0), nullptr));
        if (version && version->major_version >= 4) {
            emptyCursor_ = MakeEmptyCursor(connection, root);
            return;
        }
    }
    throw std::runtime_error("the X server cannot hide its pointer");
}

std::string InputGrab::Begin(uint16_t pointer, uint16_t keyboard, bool withButtons) {
    const auto keyboardCookie = Grab(connection_, root_, XCB_NONE, keyboard, KEYBOARD_EVENTS);
    const auto pointerCookie = Grab(connection_, root_, emptyCursor_, pointer, POINTER_EVENTS);
    const auto stateCookie = xcb_query_pointer(connection_, root_);
    const bool hasKeyboard = IsGranted(connection_, keyboardCookie);
    hasPointer_ = IsGranted(connection_, pointerCookie);
    const XReply<xcb_query_pointer_reply_t> state(xcb_query_pointer_reply(connection_, stateCookie, nullptr));
    const bool mayHold = withButtons && state && (state->mask & ANY_BUTTON) != 0;
    pointer_ = pointer;
    keyboard_ = keyboard;
    isOn_ = hasKeyboard && (hasPointer_ || mayHold);
    if (isOn_) {
        xcb_xfixes_hide_cursor(connection_, root_);
        return {};
    }
    xcb_input_xi_ungrab_device(connection_, XCB_CURRENT_TIME, keyboard);
    xcb_input_xi_ungrab_device(connection_, XCB_CURRENT_TIME, pointer);
    xcb_flush(connection_);
    hasPointer_ = false;
    return hasKeyboard ? "a program holds the pointer" : "a program holds the keyboard";
}

bool InputGrab::TakePointer() {
    hasPointer_ =
        hasPointer_ || IsGranted(connection_, Grab(connection_, root_, emptyCursor_, pointer_, POINTER_EVENTS));
    return hasPointer_;
}

void InputGrab::End(Point at) {
    if (!isOn_) {
        return;
    }
    isOn_ = false;
    hasPointer_ = false;
    xcb_warp_pointer(connection_, XCB_NONE, root_, 0, 0, 0, 0, static_cast<int16_t>(at.x), static_cast<int16_t>(at.y));
    xcb_input_xi_ungrab_device(connection_, XCB_CURRENT_TIME, pointer_);
    xcb_input_xi_ungrab_device(connection_, XCB_CURRENT_TIME, keyboard_);
    xcb_xfixes_show_cursor(connection_, root_);
    xcb_flush(connection_);
}

void InputGrab::SetScreens(const std::vector<Screen>& screens) {
    const auto area = [](const Screen& screen) {
        return int64_t{screen.width} * screen.height;
    };
    const auto largest = std::ranges::max_element(screens, {}, area);
    if (largest != screens.end()) {
        park_ = *largest;
    }
}

void InputGrab::Park() {
    const Point middle = Middle();
    parked_ = xcb_warp_pointer(
        connection_, XCB_NONE, root_, 0, 0, 0, 0, static_cast<int16_t>(middle.x), static_cast<int16_t>(middle.y))
                  .sequence;
    xcb_flush(connection_);
}

void InputGrab::ParkFrom(Point at, uint32_t sequence) {
    const Point middle = Middle();
    const bool isFar = std::abs(at.x - middle.x) > park_.width / 4 || std::abs(at.y - middle.y) > park_.height / 4;
    if (isFar && !Linux::IsBefore(sequence, parked_)) {
        Park();
    }
}

Point InputGrab::Middle() const {
    return {park_.x + park_.width / 2, park_.y + park_.height / 2};
}

}  // namespace ZYNE::Companion
