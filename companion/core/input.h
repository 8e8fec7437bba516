// What a person does at a device, and what is held.
#pragma once

#include <cstdint>
#include <set>

#include "companion/core/geometry.h"

namespace ZYNE::Companion {

// Codes of the kernel's input-event-codes.h: 1 to 247 are keys of a keyboard. No layout is involved.
using KeyCode = uint16_t;
inline constexpr KeyCode MAX_KEY_CODE = 247;

// 1 left, 2 middle, 3 right, 8 back, 9 forward, and so on, never 4 to 7, which are the wheel.
using Button = uint8_t;
inline constexpr Button MAX_BUTTON = 31;

// Lock keys that are on.
struct Locks {
    bool caps = false;
    bool num = false;
    bool scroll = false;

    bool operator==(const Locks&) const = default;
};

// The device moved by (dx, dy), in pixels with their fraction. The pointer is at `pointer` now, unless it is captured:
// then it stays where it was, and `pointer` says nothing.
struct Motion {
    double dx = 0;
    double dy = 0;
    Point pointer;
};

struct KeyChange {
    KeyCode code = 0;
    bool isDown = false;
};

struct ButtonChange {
    Button button = 0;
    bool isDown = false;
};

// 120 for one notch: positive is down and right.
struct Scroll {
    int32_t dx = 0;
    int32_t dy = 0;
};

// What is held and lit at a moment.
struct InputState {
    Point pointer;
    std::set<KeyCode> keys;
    std::set<Button> buttons;
    Locks locks;
};

}  // namespace ZYNE::Companion
