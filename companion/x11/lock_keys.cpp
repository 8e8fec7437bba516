#include "companion/x11/lock_keys.h"

#include <algorithm>
#include <span>

#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {
namespace {

constexpr uint32_t MODIFIERS = 8;

// The symbols that X gives to these keys.
std::optional<LockKeys::Lock> LockOf(xcb_keysym_t symbol) {
    switch (symbol) {
    case 0xffe5:
        return LockKeys::Lock::CAPS;
    case 0xff7f:
        return LockKeys::Lock::NUM;
    case 0xff14:
        return LockKeys::Lock::SCROLL;
    default:
        return std::nullopt;
    }
}

}  // namespace

Locks LockKeys::Read(uint32_t modifiers) {
    Learn();
    return {IsOn(Lock::CAPS, modifiers), IsOn(Lock::NUM, modifiers), IsOn(Lock::SCROLL, modifiers)};
}

std::optional<uint8_t> LockKeys::KeyOf(Lock lock) {
    Learn();
    const auto found = keys_.find(lock);
    return found != keys_.end() ? std::optional(found->second.code) : std::nullopt;
}

bool LockKeys::IsOn(Lock lock, uint32_t modifiers) const {
    const auto found = keys_.find(lock);
    return found != keys_.end() && (modifiers & found->second.modifier) != 0;
}

// A key that no modifier belongs to locks nothing that could be seen.
void LockKeys::Learn() {
    if (isKnown_) {
        return;
    }
    const auto* setup = xcb_get_setup(connection_);
    const xcb_keycode_t first = setup->min_keycode;
    const auto count = static_cast<uint8_t>(setup->max_keycode - first + 1);
    const auto modifierCookie = xcb_get_modifier_mapping(connection_);
    const auto symbolCookie = xcb_get_keyboard_mapping(connection_, first, count);
    const Linux::XReply<xcb_get_modifier_mapping_reply_t> modifiers(
        xcb_get_modifier_mapping_reply(connection_, modifierCookie, nullptr));
    const Linux::XReply<xcb_get_keyboard_mapping_reply_t> symbols(
        xcb_get_keyboard_mapping_reply(connection_, symbolCookie, nullptr));
    if (!modifiers || !symbols || symbols->keysyms_per_keycode == 0) {
        return;
    }
    keys_.clear();
    isKnown_ = true;
    const std::span codes(
        xcb_get_modifier_mapping_keycodes(modifiers.get()), size_t{MODIFIERS} * modifiers->keycodes_per_modifier);
    const auto* firstSymbol = xcb_get_keyboard_mapping_keysyms(symbols.get());
    for (size_t index = 0; index < codes.size(); ++index) {
        if (codes[index] < first) {
            continue;
        }
        const auto lock = LockOf(firstSymbol[size_t{symbols->keysyms_per_keycode} * (codes[index] - first)]);
        if (lock) {
            keys_.try_emplace(*lock, Key{codes[index], 1U << (index / modifiers->keycodes_per_modifier)});
        }
    }
}

}  // namespace ZYNE::Companion
