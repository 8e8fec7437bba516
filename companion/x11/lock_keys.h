// Which keys lock what, and what is locked.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include <xcb/xcb.h>

#include "companion/core/input.h"

namespace ZYNE::Companion {

// One thread at a time.
class LockKeys {
public:
    enum class Lock : uint8_t { CAPS, NUM, SCROLL };

    explicit LockKeys(xcb_connection_t* connection) : connection_(connection) {}

    // The keyboard's layout is another one. Looked at when it is needed.
    void Forget() { isKnown_ = false; }

    // What modifiers, a bit each, mean.
    Locks Read(uint32_t modifiers);
    // The key that switches it, as the server counts; nothing when the layout has none.
    std::optional<uint8_t> KeyOf(Lock lock);

private:
    struct Key {
        uint8_t code;
        uint32_t modifier;
    };

    void Learn();
    bool IsOn(Lock lock, uint32_t modifiers) const;

    xcb_connection_t* const connection_;
    bool isKnown_ = false;
    std::map<Lock, Key> keys_;
};

}  // namespace ZYNE::Companion
