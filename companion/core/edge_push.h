// How hard a pointer is pushed against the edges of its desk, and whether that is enough to cross.
#pragma once

#include <array>
#include <chrono>
#include <optional>
#include <vector>

#include "companion/core/crossing_rules.h"
#include "companion/core/desk.h"

namespace ZYNE::Companion {

// How a pointer was moved, and how much of it would have led over an edge. In pixels.
struct Shift {
    double dx = 0;
    double dy = 0;
    double overX = 0;
    double overY = 0;
};

class EdgePush {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // The pointer is at `at` after `shift`. The sides over which it crosses by the rules of push and corner, the one that
    // it is moved to the most first.
    std::vector<Side> Push(const Desk& desk, const CrossingRules& rules, Point at, const Shift& shift, TimePoint now);

    // Nothing crosses `side` until then, unless the pointer leaves it first.
    void HoldOff(Side side, TimePoint until);
    void Reset();

private:
    struct Edge {
        double pushed = 0;  // pixels since the pointer came to it
        std::optional<TimePoint> heldUntil;
    };

    std::array<Edge, 4> edges_;  // by Side
};

}  // namespace ZYNE::Companion
