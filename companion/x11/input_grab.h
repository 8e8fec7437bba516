// Takes pointer and keyboard from all programs of a display.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <xcb/xcb.h>

#include "companion/core/geometry.h"

namespace ZYNE::Companion {

// One thread at a time. The server gives all of it back when the connection ends.
//
// While it has the pointer, the connection is told where it is moved to, and the pointer may be anywhere; Park keeps it
// away from the edges, where it could not be seen which way it was moved.
class InputGrab {
public:
    // Throws std::runtime_error with one line when the server cannot hide its pointer.
    InputGrab(xcb_connection_t* connection, xcb_window_t root);

    // Takes the keyboard, and the pointer unless a program holds it for a button that is down and `withButtons` says
    // that it may. Empty, or why not.
    std::string Begin(uint16_t pointer, uint16_t keyboard, bool withButtons);
    // Takes the pointer that Begin could not take. False when it is still held.
    bool TakePointer();
    // Gives all back and moves the pointer.
    void End(Point at);

    bool IsOn() const { return isOn_; }
    bool HasPointer() const { return hasPointer_; }

    void SetScreens(const std::vector<Screen>& screens);
    // Moves the pointer to the middle of the largest screen.
    void Park();
    // The same if it is far from there: it was at `at` after request number `sequence`.
    void ParkFrom(Point at, uint32_t sequence);

private:
    Point Middle() const;

    xcb_connection_t* const connection_;
    const xcb_window_t root_;
    xcb_cursor_t emptyCursor_ = XCB_NONE;  // for programs that read what the pointer looks like
    Screen park_;
    uint16_t pointer_ = 0;
    uint16_t keyboard_ = 0;
    uint32_t parked_ = 0;  // the number of the last request that moved it
    bool isOn_ = false;
    bool hasPointer_ = false;
};

}  // namespace ZYNE::Companion
