#include "companion/core/guest.h"

#include <algorithm>

namespace ZYNE::Companion {
namespace {

double InPixels(int64_t length) {
    return static_cast<double>(length) / PIXEL;
}

// Of a move by `moved` along one axis from `before` to `after`, what is left; it has the direction of the move.
double Rest(double moved, int32_t before, int32_t after) {
    const double rest = moved - (after - before);
    return moved > 0 ? std::clamp(rest, 0.0, moved) : std::clamp(rest, moved, 0.0);
}

template <typename Code>
bool Note(std::set<Code>& held, Code code, bool isDown) {
    return isDown ? held.insert(code).second : held.erase(code) != 0;
}

}  // namespace

Shift ShiftOf(const Motion& motion, Point before) {
    return {
        motion.dx, motion.dy, Rest(motion.dx, before.x, motion.pointer.x), Rest(motion.dy, before.y, motion.pointer.y)};
}

void Guest::Begin(const Enter& enter, const Desk& desk) {
    taken_ = {};
    keys_.clear();
    buttons_.clear();
    locksBefore_ = desktop_.GetState().locks;
    position_ = CentreOf(desk.Entry(enter.gate));
    desktop_.MovePointer(At());
    if (enter.locks != locksBefore_) {
        desktop_.SetLocks(enter.locks);
    }
    for (const KeyCode code : enter.keys) {
        Press(KeyChange{code, true});
    }
    for (const Button button : enter.buttons) {
        Press(ButtonChange{button, true});
    }
}

void Guest::End() {
    keys_.clear();
    buttons_.clear();
    desktop_.ReleaseAll();
    desktop_.SetLocks(locksBefore_);
}

std::optional<Shift> Guest::Take(const Total& total, const Desk& desk) {
    if (static_cast<int32_t>(total.number - taken_.number) <= 0) {
        return std::nullopt;
    }
    const int64_t dx = total.x - taken_.x;
    const int64_t dy = total.y - taken_.y;
    const Position before = position_;
    taken_ = total;
    MoveTo(desk.Moved(before, dx, dy));
    return Shift{
        InPixels(dx), InPixels(dy), InPixels(before.x + dx - position_.x), InPixels(before.y + dy - position_.y)};
}

Shift Guest::Adopt(const Motion& motion) {
    const Point before = At();
    if (motion.pointer != before) {
        position_ = CentreOf(motion.pointer);
    }
    return ShiftOf(motion, before);
}

void Guest::StayOn(const Desk& desk) {
    if (!desk.Contains(At())) {
        MoveTo(CentreOf(desk.Nearest(At())));
    }
}

bool Guest::Press(const KeyChange& key) {
    if (!Note(keys_, key.code, key.isDown)) {
        return false;
    }
    desktop_.PressKey(key.code, key.isDown);
    return true;
}

bool Guest::Press(const ButtonChange& button) {
    if (!Note(buttons_, button.button, button.isDown)) {
        return false;
    }
    desktop_.PressButton(button.button, button.isDown);
    return true;
}

void Guest::MoveTo(Position position) {
    const Point before = At();
    position_ = position;
    if (At() != before) {
        desktop_.MovePointer(At());
    }
}

}  // namespace ZYNE::Companion
