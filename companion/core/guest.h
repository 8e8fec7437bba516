// The pointer of a peer on this device: where it is, and what is pressed here for it.
#pragma once

#include <optional>
#include <set>

#include "companion/core/desk.h"
#include "companion/core/edge_push.h"
#include "companion/core/message.h"
#include "companion/desktop/desktop.h"

namespace ZYNE::Companion {

// Injects what it is told, and flushes nothing.
class Guest {
public:
    explicit Guest(Desktop& desktop) : desktop_(desktop) {}

    void Begin(const Enter& enter, const Desk& desk);
    // Lets go of all that is pressed, and lights the lock keys as they were before.
    void End();

    // Moves it as far as `total` says. Nothing when that is older than what was taken before.
    std::optional<Shift> Take(const Total& total, const Desk& desk);
    // Somebody at this device has moved it to `pointer`.
    Shift Adopt(const Motion& motion);
    // The screens have changed.
    void StayOn(const Desk& desk);

    // False when it is so already.
    bool Press(const KeyChange& key);
    bool Press(const ButtonChange& button);

    Point At() const { return PixelOf(position_); }
    const Total& Taken() const { return taken_; }
    const std::set<KeyCode>& Keys() const { return keys_; }
    const std::set<Button>& Buttons() const { return buttons_; }

private:
    void MoveTo(Position position);

    Desktop& desktop_;
    Position position_;
    Total taken_;
    std::set<KeyCode> keys_;  // pressed here for it
    std::set<Button> buttons_;
    Locks locksBefore_;
};

// What a motion of this device's own means, for a pointer that was at `before`: the rest that the edges have kept back.
Shift ShiftOf(const Motion& motion, Point before);

}  // namespace ZYNE::Companion
