// Keys by the names that people write in a configuration: "ctrl+alt+escape".
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace ZYNE::Host {

// The codes of the kernel's input-event-codes.h that stand for `name`: two for shift, ctrl, alt and super, left and
// right; one for a letter, a digit, f1 to f12, escape, space, home, end, insert, delete, pause, scrolllock. Empty when
// there is no such key.
std::vector<int32_t> KeysOfName(std::string_view name);

// Names joined by "+", each by its first code. Nothing when one is not known.
std::optional<std::vector<int32_t>> ReadKeyCombination(std::string_view text);

}  // namespace ZYNE::Host
