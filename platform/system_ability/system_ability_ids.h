// The numbers of the system abilities that several layers know.
#pragma once

#include <cstdint>

namespace ZYNE::SystemAbilityIds {

inline constexpr int32_t BUNDLE_MANAGER = 401;
inline constexpr int32_t DEVICE_PROFILE = 70635;  // shared data is used by its right, too

}  // namespace ZYNE::SystemAbilityIds
