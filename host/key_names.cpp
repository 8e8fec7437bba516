#include "host/key_names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include <linux/input-event-codes.h>

namespace ZYNE::Host {
namespace {

struct NamedKey {
    std::string_view name;
    int32_t code;
    int32_t other = 0;  // the same on the other side of the keyboard
};

constexpr std::array<NamedKey, 12> KEYS{{
    {"shift", KEY_LEFTSHIFT, KEY_RIGHTSHIFT},
    {"ctrl", KEY_LEFTCTRL, KEY_RIGHTCTRL},
    {"alt", KEY_LEFTALT, KEY_RIGHTALT},
    {"super", KEY_LEFTMETA, KEY_RIGHTMETA},
    {"escape", KEY_ESC},
    {"space", KEY_SPACE},
    {"home", KEY_HOME},
    {"end", KEY_END},
    {"insert", KEY_INSERT},
    {"delete", KEY_DELETE},
    {"pause", KEY_PAUSE},
    {"scrolllock", KEY_SCROLLLOCK},
}};

// Rows of keys whose codes follow one another.
constexpr std::array<std::pair<std::string_view, int32_t>, 4> ROWS{
    {{"1234567890", KEY_1}, {"qwertyuiop", KEY_Q}, {"asdfghjkl", KEY_A}, {"zxcvbnm", KEY_Z}}};

constexpr std::array<std::pair<std::string_view, int32_t>, 12> FUNCTION_KEYS{
    {{"f1", KEY_F1}, {"f2", KEY_F2}, {"f3", KEY_F3}, {"f4", KEY_F4}, {"f5", KEY_F5}, {"f6", KEY_F6}, {"f7", KEY_F7},
        {"f8", KEY_F8}, {"f9", KEY_F9}, {"f10", KEY_F10}, {"f11", KEY_F11}, {"f12", KEY_F12}}};

std::vector<int32_t> KeyInRows(char letter) {
    for (const auto& [row, first] : ROWS) {
        const size_t at = row.find(letter);
        if (at != std::string_view::npos) {
            return {first + static_cast<int32_t>(at)};
        }
    }
    return {};
}

}  // namespace

std::vector<int32_t> KeysOfName(std::string_view name) {
    if (name.size() == 1) {
        return KeyInRows(name.front());
    }
    for (const auto& [function, code] : FUNCTION_KEYS) {
        if (function == name) {
            return {code};
        }
    }
    const auto* const key = std::ranges::find(KEYS, name, &NamedKey::name);
    if (key == KEYS.end()) {
        return {};
    }
    return key->other == 0 ? std::vector{key->code} : std::vector{key->code, key->other};
}

std::optional<std::vector<int32_t>> ReadKeyCombination(std::string_view text) {
    std::vector<int32_t> codes;
    for (;;) {
        const size_t end = std::min(text.find('+'), text.size());
        const std::vector<int32_t> keys = KeysOfName(text.substr(0, end));
        if (keys.empty()) {
            return std::nullopt;
        }
        codes.push_back(keys.front());
        if (end == text.size()) {
            return codes;
        }
        text.remove_prefix(end + 1);
    }
}

}  // namespace ZYNE::Host
