// The domains under which this port and the programs on it log, each with a number of its own.
#pragma once

#include "platform/log/log_print.h"

namespace ZYNE::Linux::LogDomains {

inline constexpr LogDomain RUNTIME{0xD004630, "Runtime"};
inline constexpr LogDomain BUS{0xD004631, "Bus"};
inline constexpr LogDomain APPS{0xD004632, "Apps"};
inline constexpr LogDomain LOG{0xD004634, "Log"};
inline constexpr LogDomain DATA_SHARE{0xD004635, "DataShare"};
inline constexpr LogDomain INPUT{0xD004636, "Input"};
inline constexpr LogDomain USERS{0xD004637, "Users"};
inline constexpr LogDomain POWER{0xD004638, "Power"};
inline constexpr LogDomain INTERACTION{0xD004639, "Interaction"};
inline constexpr LogDomain SCREEN{0xD00463A, "Screen"};
inline constexpr LogDomain STORE{0xD00463B, "Store"};
inline constexpr LogDomain EVENT{0xD00463C, "Event"};
inline constexpr LogDomain DEVICE{0xD004640, "Device"};
inline constexpr LogDomain COMPANION{0xD004641, "Companion"};
inline constexpr LogDomain FABRIC{0xD004700, "Fabric"};
inline constexpr LogDomain NETWORK{0xD004701, "Network"};
inline constexpr LogDomain PROFILE{0xD004702, "Profile"};

}  // namespace ZYNE::Linux::LogDomains
