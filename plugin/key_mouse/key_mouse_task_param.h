// How the keyboard and mouse path names itself to the host's pool.
#pragma once

#include <cstdint>

namespace ZYNE::CollaborationFwk {

inline constexpr int32_t KEY_MOUSE_TASK = 4;

}  // namespace ZYNE::CollaborationFwk
