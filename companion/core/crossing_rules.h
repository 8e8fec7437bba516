// How an edge is crossed, and what brings the pointer home.
#pragma once

#include <cstdint>
#include <set>

#include "companion/core/input.h"

namespace ZYNE::Companion {

struct CrossingRules {
    int32_t push = 0;            // pixels that the pointer is pushed on at the edge; 0 crosses at once
    int32_t corner = 0;          // pixels from a corner, on either side, that never cross
    std::set<KeyCode> modifier;  // one of them must be held; empty for none
    bool drags = false;          // whether a pointer with a button down crosses
    std::set<KeyCode> homeKeys;  // held together they bring the pointer home: left and right of a modifier count alike
};

// Ctrl, shift, alt and meta of either side.
bool IsModifier(KeyCode code);

// Whether a pointer may cross while this is held.
bool MayPass(const CrossingRules& rules, const std::set<KeyCode>& keys, const std::set<Button>& buttons);
// Whether the keys that bring the pointer home are held. Never when there are none.
bool AreHomeKeysHeld(const CrossingRules& rules, const std::set<KeyCode>& keys);

}  // namespace ZYNE::Companion
