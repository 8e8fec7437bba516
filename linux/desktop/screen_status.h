// What state a device's screen is in, as it tells its peers.
#pragma once

#include <cstdint>

namespace ZYNE::Linux {

enum ScreenStatus : int32_t {
    SCREEN_UNKNOWN = -1,  // nobody can tell, as on a machine without a desktop
    SCREEN_OFF = 0,
    SCREEN_ON = 1,
    SCREEN_LOCKED = 2,
};

// SCREEN_UNKNOWN for a number that is no status: it may come from a peer or a user.
constexpr ScreenStatus ToScreenStatus(int32_t value) {
    return value >= SCREEN_OFF && value <= SCREEN_LOCKED ? static_cast<ScreenStatus>(value) : SCREEN_UNKNOWN;
}

}  // namespace ZYNE::Linux
