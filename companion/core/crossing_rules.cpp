#include "companion/core/crossing_rules.h"

#include <algorithm>
#include <array>
#include <utility>

namespace ZYNE::Companion {
namespace {

// Left and right: ctrl, shift, alt, meta.
constexpr std::array<std::pair<KeyCode, KeyCode>, 4> MODIFIERS{{{29, 97}, {42, 54}, {56, 100}, {125, 126}}};

// The other one of a modifier; any other key is its own.
KeyCode Twin(KeyCode code) {
    for (const auto& [left, right] : MODIFIERS) {
        if (code == left || code == right) {
            return code == left ? right : left;
        }
    }
    return code;
}

}  // namespace

bool IsModifier(KeyCode code) {
    return Twin(code) != code;
}

bool MayPass(const CrossingRules& rules, const std::set<KeyCode>& keys, const std::set<Button>& buttons) {
    const bool isModified = std::any_of(
        rules.modifier.begin(), rules.modifier.end(), [&keys](KeyCode code) { return keys.count(code) != 0; });
    return (rules.modifier.empty() || isModified) && (rules.drags || buttons.empty());
}

bool AreHomeKeysHeld(const CrossingRules& rules, const std::set<KeyCode>& keys) {
    return !rules.homeKeys.empty() && std::all_of(rules.homeKeys.begin(), rules.homeKeys.end(), [&keys](KeyCode code) {
        return keys.count(code) != 0 || keys.count(Twin(code)) != 0;
    });
}

}  // namespace ZYNE::Companion
