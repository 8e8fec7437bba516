// Points, screens and sides, as everything of the companion counts them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace ZYNE::Companion {

inline constexpr size_t MAX_NAME_BYTES = 64;  // of a display or a device, in messages and placements

// Pixels from the upper left corner of the desktop that all screens of a device are parts of.
struct Point {
    int32_t x = 0;
    int32_t y = 0;

    bool operator==(const Point&) const = default;
};

// One screen of a device, at least one pixel wide and high.
struct Screen {
    std::string name;  // as the display system calls it
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t height = 0;

    bool Contains(Point point) const {
        return point.x >= x && point.y >= y && point.x < x + width && point.y < y + height;
    }
    bool operator==(const Screen&) const = default;
};

enum class Side : uint8_t { LEFT, RIGHT, TOP, BOTTOM };

constexpr Side Opposite(Side side) {
    switch (side) {
    case Side::LEFT:
        return Side::RIGHT;
    case Side::RIGHT:
        return Side::LEFT;
    case Side::TOP:
        return Side::BOTTOM;
    default:
        return Side::TOP;
    }
}

}  // namespace ZYNE::Companion
