#include "companion/core/desk.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>

namespace ZYNE::Companion {
namespace {

constexpr int32_t INSET = 2;   // pixels inside the edge that a pointer comes in over
constexpr double WHOLE = 100;  // percent
constexpr int32_t PLACES = 65536;

bool IsUpright(Side side) {
    return side == Side::LEFT || side == Side::RIGHT;
}

Point Next(Point at, Side side) {
    switch (side) {
    case Side::LEFT:
        return {at.x - 1, at.y};
    case Side::RIGHT:
        return {at.x + 1, at.y};
    case Side::TOP:
        return {at.x, at.y - 1};
    default:
        return {at.x, at.y + 1};
    }
}

Point Clamp(const Screen& screen, Point point) {
    return {std::clamp(point.x, screen.x, screen.x + screen.width - 1),
        std::clamp(point.y, screen.y, screen.y + screen.height - 1)};
}

int64_t Distance(Point one, Point other) {
    return std::abs(int64_t{one.x} - other.x) + std::abs(int64_t{one.y} - other.y);
}

int64_t Distance(Position one, int64_t x, int64_t y) {
    return std::abs(one.x - x) + std::abs(one.y - y);
}

int32_t PixelOf(int64_t position) {
    const int64_t whole = position >= 0 ? position / PIXEL : -((PIXEL - 1 - position) / PIXEL);
    return static_cast<int32_t>(whole);
}

// In percent of the side, at the centre of the pixel.
double PlaceOn(const Screen& outline, Point at, Side side) {
    return IsUpright(side) ? WHOLE * (at.y - outline.y + 0.5) / outline.height
                           : WHOLE * (at.x - outline.x + 0.5) / outline.width;
}

bool Lies(double place, const Part& part) {
    return place >= part.from && place <= part.to;
}

uint16_t PlaceOver(double place, const Placement& placement) {
    const double share = (place - placement.part.from) / (placement.part.to - placement.part.from);
    const double there = placement.peerPart.from + share * (placement.peerPart.to - placement.peerPart.from);
    return static_cast<uint16_t>(std::clamp(std::lround(there / WHOLE * (PLACES - 1)), 0L, PLACES - 1L));
}

// The pixel of a length that a place along it means.
int32_t PixelAt(uint16_t place, int32_t length) {
    return static_cast<int32_t>(int64_t{place} * length / PLACES);
}

// As far inside from the edge as a pointer comes in, and no farther than to the middle.
Point Inside(const Screen& screen, Point at, Side side) {
    const int32_t inset = std::min(INSET, ((IsUpright(side) ? screen.width : screen.height) - 1) / 2);
    for (int32_t step = 0; step < inset; ++step) {
        at = Next(at, Opposite(side));
    }
    return at;
}

}  // namespace

Position CentreOf(Point point) {
    return {point.x * PIXEL + PIXEL / 2, point.y * PIXEL + PIXEL / 2};
}

Point PixelOf(Position position) {
    return {PixelOf(position.x), PixelOf(position.y)};
}

Desk::Desk(const std::vector<Screen>& screens) {
    std::copy_if(screens.begin(), screens.end(), std::back_inserter(screens_),
        [](const Screen& screen) { return screen.width > 0 && screen.height > 0; });
}

bool Desk::Contains(Point point) const {
    return ScreenAt(point) != nullptr;
}

Point Desk::Nearest(Point point) const {
    const Screen* screen = NearestScreen(point);
    return screen == nullptr ? point : Clamp(*screen, point);
}

Position Desk::Moved(Position from, int64_t dx, int64_t dy) const {
    if (IsEmpty()) {
        return from;
    }
    const Position start = Contains(PixelOf(from)) ? from : CentreOf(Nearest(PixelOf(from)));
    const int64_t x = start.x + dx;
    const int64_t y = start.y + dy;
    // Around a corner of the desk it matters which axis goes first: the pointer takes the way that gets it farther.
    const Position acrossFirst = MovedAlong(MovedAlong(start, dx, true), dy, false);
    const Position downFirst = MovedAlong(MovedAlong(start, dy, false), dx, true);
    return Distance(downFirst, x, y) < Distance(acrossFirst, x, y) ? downFirst : acrossFirst;
}

bool Desk::IsOuter(Point at, Side side) const {
    return Contains(at) && !Contains(Next(at, side));
}

bool Desk::IsNearCorner(Point at, Side side, int32_t pixels) const {
    Point back = at;
    Point forth = at;
    for (int32_t step = 0; step < pixels; ++step) {
        back = Next(back, IsUpright(side) ? Side::TOP : Side::LEFT);
        forth = Next(forth, IsUpright(side) ? Side::BOTTOM : Side::RIGHT);
        if (!IsOuter(back, side) || !IsOuter(forth, side)) {
            return true;
        }
    }
    return false;
}

std::optional<Crossing> Desk::Over(Point at, Side side, const std::vector<Placement>& placements) const {
    const Screen* screen = ScreenAt(at);
    if (screen == nullptr || !IsOuter(at, side)) {
        return std::nullopt;
    }
    const auto find = [&](const std::string& display) -> std::optional<Crossing> {
        const double place = PlaceOn(Outline(display), at, side);
        for (const Placement& placement : placements) {
            if (placement.side == side && placement.display == display && Lies(place, placement.part)) {
                return Crossing{placement.peer, {Opposite(side), placement.peerDisplay, PlaceOver(place, placement)}};
            }
        }
        return std::nullopt;
    };
    if (std::optional<Crossing> atDisplay = screen->name.empty() ? std::nullopt : find(screen->name)) {
        return atDisplay;
    }
    return HasScreenBeyond(at, side) ? std::nullopt : find("");
}

Point Desk::Entry(const Gate& gate) const {
    if (IsEmpty()) {
        return {};
    }
    const Screen outline = Outline(gate.display);
    Point at{outline.x, outline.y};
    if (IsUpright(gate.side)) {
        at.y += PixelAt(gate.place, outline.height);
        at.x += gate.side == Side::RIGHT ? outline.width - 1 : 0;
    } else {
        at.x += PixelAt(gate.place, outline.width);
        at.y += gate.side == Side::BOTTOM ? outline.height - 1 : 0;
    }
    const Screen* named = ScreenNamed(gate.display);
    const Screen* screen = named != nullptr ? named : OutermostScreen(at, gate.side);
    return screen == nullptr ? at : Inside(*screen, Clamp(*screen, at), gate.side);
}

const Screen* Desk::ScreenAt(Point point) const {
    const auto found = std::find_if(
        screens_.begin(), screens_.end(), [point](const Screen& screen) { return screen.Contains(point); });
    return found == screens_.end() ? nullptr : &*found;
}

const Screen* Desk::ScreenNamed(const std::string& name) const {
    const auto found = std::find_if(screens_.begin(), screens_.end(),
        [&name](const Screen& screen) { return !name.empty() && screen.name == name; });
    return found == screens_.end() ? nullptr : &*found;
}

const Screen* Desk::NearestScreen(Point point) const {
    const auto found =
        std::min_element(screens_.begin(), screens_.end(), [point](const Screen& one, const Screen& other) {
            return Distance(Clamp(one, point), point) < Distance(Clamp(other, point), point);
        });
    return found == screens_.end() ? nullptr : &*found;
}

const Screen* Desk::OutermostScreen(Point at, Side side) const {
    const Screen* outermost = nullptr;
    for (const Screen& screen : screens_) {
        const Point nearest = Clamp(screen, at);
        const bool isOnLine = IsUpright(side) ? nearest.y == at.y : nearest.x == at.x;
        if (isOnLine && (outermost == nullptr || Distance(nearest, at) < Distance(Clamp(*outermost, at), at))) {
            outermost = &screen;
        }
    }
    return outermost != nullptr ? outermost : NearestScreen(at);
}

Screen Desk::Outline(const std::string& display) const {
    if (const Screen* named = ScreenNamed(display)) {
        return *named;
    }
    Point first{screens_.front().x, screens_.front().y};
    Point end = first;
    for (const Screen& screen : screens_) {
        first = {std::min(first.x, screen.x), std::min(first.y, screen.y)};
        end = {std::max(end.x, screen.x + screen.width), std::max(end.y, screen.y + screen.height)};
    }
    return {"", first.x, first.y, end.x - first.x, end.y - first.y};
}

bool Desk::HasScreenBeyond(Point at, Side side) const {
    return std::any_of(screens_.begin(), screens_.end(), [at, side](const Screen& screen) {
        const Point nearest = Clamp(screen, at);
        switch (side) {
        case Side::LEFT:
            return nearest.y == at.y && nearest.x < at.x;
        case Side::RIGHT:
            return nearest.y == at.y && nearest.x > at.x;
        case Side::TOP:
            return nearest.x == at.x && nearest.y < at.y;
        default:
            return nearest.x == at.x && nearest.y > at.y;
        }
    });
}

Desk::Stretch Desk::Reach(Point at, bool isAcross) const {
    const int32_t start = isAcross ? at.x : at.y;
    Stretch reach{start, start};
    for (bool grows = true; grows;) {
        grows = false;
        for (const Screen& screen : screens_) {
            const Point nearest = Clamp(screen, at);
            const int32_t first = isAcross ? screen.x : screen.y;
            const int32_t last = first + (isAcross ? screen.width : screen.height) - 1;
            const bool isOnLine = isAcross ? nearest.y == at.y : nearest.x == at.x;
            if (isOnLine && first <= reach.last + 1 && last >= reach.first - 1 &&
                (first < reach.first || last > reach.last)) {
                reach = {std::min(first, reach.first), std::max(last, reach.last)};
                grows = true;
            }
        }
    }
    return reach;
}

Position Desk::MovedAlong(Position from, int64_t by, bool isAcross) const {
    const Stretch reach = Reach(PixelOf(from), isAcross);
    int64_t& moved = isAcross ? from.x : from.y;
    moved = std::clamp(moved + by, reach.first * PIXEL, (reach.last + 1) * PIXEL - 1);
    return from;
}

}  // namespace ZYNE::Companion
