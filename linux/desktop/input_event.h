// What happened to keys and pointer, before it becomes objects of the seam.
#pragma once

#include <cstdint>
#include <set>
#include <variant>

namespace ZYNE::Linux {

// The values of KeyEvent's action. Its key codes are those of the kernel's input-event-codes.h: 30 is the key A.
inline constexpr int32_t KEY_RELEASED = 0;
inline constexpr int32_t KEY_PRESSED = 1;

// The id of the one pointer that all mice move.
inline constexpr int32_t POINTER_ID = 0;

// Pixels from the upper left corner of the desktop that all displays are parts of.
struct DesktopPoint {
    int32_t x = 0;
    int32_t y = 0;

    bool operator==(const DesktopPoint&) const = default;
};

// A point on one display. If it is on none, the id is negative and the pixels count from the desktop's corner.
struct DisplayPlace {
    int32_t displayId = -1;
    int32_t x = 0;
    int32_t y = 0;
};

struct KeyChange {
    int32_t code = 0;
    int32_t action = KEY_RELEASED;
};

struct PointerChange {
    int32_t deviceId = 0;
    DisplayPlace place;
    int32_t dx = 0;
    int32_t dy = 0;
    std::set<int32_t> pressedButtons;  // 1 left, 2 middle, 3 right, others from 8 on
    bool isMotion = false;             // a motion and nothing else
};

using InputEvent = std::variant<KeyChange, PointerChange>;

}  // namespace ZYNE::Linux
