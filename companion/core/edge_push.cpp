#include "companion/core/edge_push.h"

#include <algorithm>

namespace ZYNE::Companion {
namespace {

// How much of (x, y) leads towards a side.
double Towards(Side side, double x, double y) {
    switch (side) {
    case Side::LEFT:
        return -x;
    case Side::RIGHT:
        return x;
    case Side::TOP:
        return -y;
    default:
        return y;
    }
}

}  // namespace

std::vector<Side> EdgePush::Push(
    const Desk& desk, const CrossingRules& rules, Point at, const Shift& shift, TimePoint now) {
    std::vector<Side> crossed;
    for (const Side side : {Side::LEFT, Side::RIGHT, Side::TOP, Side::BOTTOM}) {
        Edge& edge = edges_.at(static_cast<size_t>(side));
        if (!desk.IsOuter(at, side)) {
            edge = {};
            continue;
        }
        const double outwards = Towards(side, shift.dx, shift.dy);
        const double over = outwards > 0 ? Towards(side, shift.overX, shift.overY) : outwards;
        edge.pushed = std::max(0.0, edge.pushed + over);
        if (outwards > 0 && edge.pushed >= rules.push && (!edge.heldUntil || now >= *edge.heldUntil) &&
            !desk.IsNearCorner(at, side, rules.corner)) {
            crossed.push_back(side);
        }
    }
    std::sort(crossed.begin(), crossed.end(), [&shift](Side one, Side other) {
        return Towards(one, shift.dx, shift.dy) > Towards(other, shift.dx, shift.dy);
    });
    return crossed;
}

void EdgePush::HoldOff(Side side, TimePoint until) {
    edges_.at(static_cast<size_t>(side)).heldUntil = until;
}

void EdgePush::Reset() {
    edges_ = {};
}

}  // namespace ZYNE::Companion
