#include "companion/core/luggage.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "companion/core/crossing_rules.h"
#include "companion/core/desk.h"

namespace ZYNE::Companion {
namespace {

constexpr double MAX_MOVE = 1e6;  // pixels at once

void Add(int64_t& total, double& rest, double pixels) {
    const double exact = std::clamp(pixels, -MAX_MOVE, MAX_MOVE) * PIXEL + rest;
    const double whole = std::nearbyint(exact);
    rest = exact - whole;
    total = std::clamp(total + static_cast<int64_t>(whole), -MAX_TOTAL, MAX_TOTAL);
}

// `held` is Luggage::Held of the kind of code.
template <typename Held, typename Code>
bool TakeChange(Held& held, Code code, bool isDown) {
    if (held.behind.count(code) != 0) {
        if (!isDown) {
            held.behind.erase(code);
        }
        return false;
    }
    return isDown ? held.along.insert(code).second : held.along.erase(code) != 0;
}

}  // namespace

void Luggage::Pack(const InputState& held) {
    *this = {};
    for (const KeyCode code : held.keys) {
        (IsModifier(code) ? keys_.along : keys_.behind).insert(code);
    }
    buttons_.along = held.buttons;
}

void Luggage::Repack(const Total& rest, bool withButtons) {
    total_ = {total_.number + 1, rest.x, rest.y};
    for (const KeyCode code : std::exchange(keys_.along, {})) {
        (IsModifier(code) ? keys_.along : keys_.behind).insert(code);
    }
    if (!withButtons) {
        buttons_.behind.merge(buttons_.along);
        buttons_.along.clear();
    }
}

void Luggage::Move(double dx, double dy) {
    ++total_.number;
    Add(total_.x, restX_, dx);
    Add(total_.y, restY_, dy);
}

bool Luggage::Take(const KeyChange& key) {
    return TakeChange(keys_, key.code, key.isDown);
}

bool Luggage::Take(const ButtonChange& button) {
    return TakeChange(buttons_, button.button, button.isDown);
}

Total Luggage::MovedSince(const Total& total) const {
    return {total_.number, std::clamp(total_.x - total.x, -MAX_TOTAL, MAX_TOTAL),
        std::clamp(total_.y - total.y, -MAX_TOTAL, MAX_TOTAL)};
}

}  // namespace ZYNE::Companion
