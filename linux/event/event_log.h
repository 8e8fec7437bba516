// How common events log.
#pragma once

#include "platform/log/log_print.h"

namespace ZYNE::Linux {

inline constexpr LogDomain EVENT_LOG{0xD004636, "Event"};

}  // namespace ZYNE::Linux
