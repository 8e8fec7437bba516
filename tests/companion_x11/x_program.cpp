#include "tests/companion_x11/x_program.h"

#include <poll.h>

#include <array>

#include <xcb/xtest.h>

#include "tests/scenario/process.h"

namespace ZYNE::Testing {

using Linux::XReply;

namespace {

constexpr uint32_t EVENTS = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_BUTTON_PRESS |
    XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_PROPERTY_CHANGE;
constexpr uint16_t POINTER_EVENTS = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE;
constexpr uint32_t MOST = 1U << 22U;  // in units of four bytes

}  // namespace

XProgram::XProgram(const std::string& display)
    : link_(Linux::OpenX(display)), connection_(link_.connection.get()), window_(xcb_generate_id(connection_)) {
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, link_.screen->root, 0, 0, 1, 1, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &EVENTS);
    Sync();
}

void XProgram::Show(int16_t x, int16_t y, uint16_t width, uint16_t height, bool withFocus) {
    const std::array<uint32_t, 5> place{
        static_cast<uint32_t>(x), static_cast<uint32_t>(y), width, height, XCB_STACK_MODE_ABOVE};
    xcb_configure_window(connection_, window_,
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT |
            XCB_CONFIG_WINDOW_STACK_MODE,
        place.data());
    xcb_map_window(connection_, window_);
    const xcb_window_t focus = withFocus ? window_ : xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT};
    xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_POINTER_ROOT, focus, XCB_CURRENT_TIME);
    Sync();
}

void XProgram::Hide() {
    xcb_unmap_window(connection_, window_);
    Sync();
}

xcb_atom_t XProgram::Atom(const std::string& name) {
    return XReply<xcb_intern_atom_reply_t>(
        xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, static_cast<uint16_t>(name.size()), name.c_str()), nullptr))
        ->atom;
}

void XProgram::SetAtoms(
    xcb_window_t window, const std::string& property, const std::string& type, const std::vector<uint32_t>& values) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, Atom(property), Atom(type), 32,
        static_cast<uint32_t>(values.size()), values.data());
    Sync();
}

bool XProgram::HoldPointer(bool frozen) {
    const auto mode = frozen ? XCB_GRAB_MODE_SYNC : XCB_GRAB_MODE_ASYNC;
    return XReply<xcb_grab_pointer_reply_t>(
               xcb_grab_pointer_reply(connection_,
                   xcb_grab_pointer(connection_, 0, link_.screen->root, POINTER_EVENTS, static_cast<uint8_t>(mode),
                       XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
                   nullptr))
               ->status == XCB_GRAB_STATUS_SUCCESS;
}

bool XProgram::HoldKeyboard() {
    return XReply<xcb_grab_keyboard_reply_t>(xcb_grab_keyboard_reply(connection_,
                                                 xcb_grab_keyboard(connection_, 0, link_.screen->root, XCB_CURRENT_TIME,
                                                     XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                                 nullptr))
               ->status == XCB_GRAB_STATUS_SUCCESS;
}

void XProgram::LetGo() {
    xcb_allow_events(connection_, XCB_ALLOW_ASYNC_POINTER, XCB_CURRENT_TIME);
    xcb_ungrab_pointer(connection_, XCB_CURRENT_TIME);
    xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME);
    Sync();
}

void XProgram::MoveTo(int16_t x, int16_t y) {
    xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, link_.screen->root, x, y, 0);
    Sync();
}

void XProgram::MoveBy(int16_t x, int16_t y) {
    xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 1, XCB_CURRENT_TIME, XCB_NONE, x, y, 0);
    Sync();
}

void XProgram::Press(uint8_t type, uint8_t code) {
    xcb_test_fake_input(connection_, type, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    Sync();
}

std::vector<std::string> XProgram::Heard() {
    Sync();
    std::vector<std::string> heard;
    while (const Linux::XEvent event{xcb_poll_for_event(connection_)}) {
        const int type = event->response_type & 0x7f;
        const auto code = std::to_string(event->pad0);
        if (type == XCB_KEY_PRESS || type == XCB_BUTTON_PRESS) {
            heard.push_back("+" + code);
        } else if (type == XCB_KEY_RELEASE || type == XCB_BUTTON_RELEASE) {
            heard.push_back("-" + code);
        }
    }
    return heard;
}

void XProgram::Copy(const std::map<std::string, std::string>& contents) {
    contents_ = contents;
    xcb_set_selection_owner(connection_, window_, Atom("CLIPBOARD"), XCB_CURRENT_TIME);
    Sync();
}

void XProgram::Serve(const std::function<bool()>& isEnough) {
    Eventually([&] {
        pollfd wait{xcb_get_file_descriptor(connection_), POLLIN, 0};
        poll(&wait, 1, 10);
        while (const Linux::XEvent event{xcb_poll_for_event(connection_)}) {
            if ((event->response_type & 0x7f) == XCB_SELECTION_REQUEST) {
                AnswerRequest(reinterpret_cast<const xcb_selection_request_event_t&>(*event));
            }
        }
        return isEnough();
    });
}

void XProgram::AnswerRequest(const xcb_selection_request_event_t& request) {
    std::array<char, 32> bytes{};
    auto& notify = reinterpret_cast<xcb_selection_notify_event_t&>(bytes);
    notify = {XCB_SELECTION_NOTIFY, 0, 0, request.time, request.requestor, request.selection, request.target, XCB_NONE};
    const auto put = [&](xcb_atom_t type, uint8_t format, size_t length, const void* data) {
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property, type, format,
            static_cast<uint32_t>(length), data);
        notify.property = request.property;
    };
    std::vector<xcb_atom_t> targets;
    for (const auto& [name, content] : contents_) {
        targets.push_back(Atom(name));
        if (request.target == targets.back()) {
            put(request.target, 8, content.size(), content.data());
        }
    }
    if (request.target == Atom("TARGETS")) {
        put(XCB_ATOM_ATOM, 32, targets.size(), targets.data());
    }
    xcb_send_event(connection_, 0, request.requestor, 0, bytes.data());
    Sync();
}

std::vector<std::string> XProgram::PasteBoth(const std::string& one, const std::string& other) {
    const std::array<xcb_atom_t, 2> properties{Atom("FIRST"), Atom("SECOND")};
    SetAtoms(window_, "BOTH", "ATOM_PAIR", {Atom(one), properties[0], Atom(other), properties[1]});
    xcb_convert_selection(connection_, window_, Atom("CLIPBOARD"), Atom("MULTIPLE"), Atom("BOTH"), XCB_CURRENT_TIME);
    Sync();
    bool isAnswered = false;
    Eventually([&] {
        while (const Linux::XEvent event{xcb_poll_for_event(connection_)}) {
            isAnswered = isAnswered || (event->response_type & 0x7f) == XCB_SELECTION_NOTIFY;
        }
        return isAnswered;
    });
    const auto read = [&](xcb_atom_t property) {
        return XReply<xcb_get_property_reply_t>(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window_, property, XCB_ATOM_ANY, 0, MOST), nullptr));
    };
    const auto pairs = read(Atom("BOTH"));
    const auto* values = static_cast<const uint32_t*>(xcb_get_property_value(pairs.get()));
    std::vector<std::string> contents;
    for (size_t index = 0; index < properties.size(); ++index) {
        const auto content = read(properties[index]);
        contents.push_back(values[2 * index + 1] == XCB_NONE
                ? "-"
                : std::string(static_cast<const char*>(xcb_get_property_value(content.get())),
                      static_cast<size_t>(xcb_get_property_value_length(content.get()))));
    }
    return contents;
}

void XProgram::Sync() {
    XReply<xcb_get_input_focus_reply_t>(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

}  // namespace ZYNE::Testing
