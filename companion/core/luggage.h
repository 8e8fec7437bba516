// What this device's pointer takes along while it is away: how far it has been moved, and what is held down there.
#pragma once

#include <set>

#include "companion/core/input.h"
#include "companion/core/message.h"

namespace ZYNE::Companion {

class Luggage {
public:
    // The pointer leaves home while `held` is held: modifiers go along, other keys stay. Buttons go along too: whether
    // it may leave with one is asked before.
    void Pack(const InputState& held);
    // It goes on to a third device, where `rest` is still to be moved: what was pressed at the second one stays there.
    void Repack(const Total& rest, bool withButtons);

    // `dx` and `dy` in pixels. The fraction that a Total cannot say is kept for the next one.
    void Move(double dx, double dy);
    // Whether it is to be sent: what went down elsewhere comes up there.
    bool Take(const KeyChange& key);
    bool Take(const ButtonChange& button);

    const Total& Moved() const { return total_; }
    // What was moved since `total`.
    Total MovedSince(const Total& total) const;
    const std::set<KeyCode>& Keys() const { return keys_.along; }
    const std::set<Button>& Buttons() const { return buttons_.along; }

private:
    template <typename Code>
    struct Held {
        std::set<Code> along;   // down there
        std::set<Code> behind;  // went down elsewhere; not sent until it has come up
    };

    Total total_;
    double restX_ = 0;  // in the unit of Total, below one
    double restY_ = 0;
    Held<KeyCode> keys_;
    Held<Button> buttons_;
};

}  // namespace ZYNE::Companion
