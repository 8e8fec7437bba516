// The screens of a device side by side: how a pointer moves on them, where it can leave them, and where one comes in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/core/geometry.h"
#include "companion/core/message.h"
#include "companion/core/placement.h"

namespace ZYNE::Companion {

// The parts of a pixel that positions and totals are counted in.
inline constexpr int64_t PIXEL = 65536;

// A point with its fraction, in 1/65536 of a pixel. PIXEL * n up to PIXEL * (n + 1) - 1 lie in the pixel n.
struct Position {
    int64_t x = 0;
    int64_t y = 0;

    bool operator==(const Position&) const = default;
};

Position CentreOf(Point point);
Point PixelOf(Position position);

// Where a pointer goes that leaves over an edge.
struct Crossing {
    std::string peer;  // the id of the device
    Gate gate;         // there

    bool operator==(const Crossing&) const = default;
};

class Desk {
public:
    Desk() = default;
    // Screens without any pixel are left out.
    explicit Desk(const std::vector<Screen>& screens);

    bool IsEmpty() const { return screens_.empty(); }
    bool Contains(Point point) const;
    // The point of a screen that is nearest to `point`; `point` itself when there is no screen.
    Point Nearest(Point point) const;

    // Where a pointer gets that is moved from `from`. It goes from screen to screen where they touch, slides along the
    // edges and jumps over no gap. A position outside counts as the nearest one inside.
    Position Moved(Position from, int64_t dx, int64_t dy) const;

    // Whether `at` is the last pixel before an edge with no screen next to it.
    bool IsOuter(Point at, Side side) const;
    // Whether that edge ends within `pixels` of `at`. Where two screens go on in one line there is no end.
    bool IsNearCorner(Point at, Side side, int32_t pixels) const;
    // What lies over the outer edge at `at`. A placement at a display goes before one at the whole desk, and the latter
    // is only met where no screen follows farther out.
    std::optional<Crossing> Over(Point at, Side side, const std::vector<Placement>& placements) const;

    // Where a pointer comes in: a little inside, so that it does not leave again by itself. A display that is not there
    // stands for the whole desk.
    Point Entry(const Gate& gate) const;

private:
    struct Stretch {
        int32_t first = 0;
        int32_t last = 0;
    };

    const Screen* ScreenAt(Point point) const;
    const Screen* ScreenNamed(const std::string& name) const;
    const Screen* NearestScreen(Point point) const;
    // The one that a line inwards from `at`, on the outline of the desk, meets first; the nearest when it meets none.
    const Screen* OutermostScreen(Point at, Side side) const;
    // What `display` stands for: its rectangle, or the one around all screens.
    Screen Outline(const std::string& display) const;
    bool HasScreenBeyond(Point at, Side side) const;
    // The pixels that are reached from `at` by moving along one axis alone.
    Stretch Reach(Point at, bool isAcross) const;
    Position MovedAlong(Position from, int64_t by, bool isAcross) const;

    std::vector<Screen> screens_;
};

}  // namespace ZYNE::Companion
