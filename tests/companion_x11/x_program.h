// Another program on a display: it has a window, may hold pointer and keyboard, and can do what a person does.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <xcb/xcb.h>

#include "linux/desktop/x_link.h"

namespace ZYNE::Testing {

class XProgram {
public:
    explicit XProgram(const std::string& display);

    // A window that hears of keys and buttons; it has the focus when it is asked for.
    void Show(int16_t x, int16_t y, uint16_t width, uint16_t height, bool withFocus);
    void Hide();
    xcb_window_t Window() const { return window_; }
    void SetAtoms(
        xcb_window_t window, const std::string& property, const std::string& type, const std::vector<uint32_t>& values);
    xcb_atom_t Atom(const std::string& name);
    xcb_window_t Root() const { return link_.screen->root; }

    // False when somebody else holds it.
    bool HoldPointer(bool frozen = false);
    bool HoldKeyboard();
    // What was frozen goes on, and nothing is held.
    void LetGo();

    void MoveTo(int16_t x, int16_t y);
    void MoveBy(int16_t x, int16_t y);
    void Press(uint8_t type, uint8_t code);  // an event of the core protocol, and the server's code

    // Keys and buttons that the window has heard of since it was asked last: "+30" for a key or button that goes down.
    std::vector<std::string> Heard();

    // Owns the clipboard, as a program does that answers each target with these bytes.
    void Copy(const std::map<std::string, std::string>& contents);
    // Answers those that ask, until `isEnough`.
    void Serve(const std::function<bool()>& isEnough);
    // Asks for two targets at once: what came for them, or "-" for what was refused.
    std::vector<std::string> PasteBoth(const std::string& one, const std::string& other);

private:
    void Sync();
    void AnswerRequest(const xcb_selection_request_event_t& request);

    Linux::XLink link_;
    xcb_connection_t* const connection_;
    xcb_window_t window_;
    std::map<std::string, std::string> contents_;
};

}  // namespace ZYNE::Testing
