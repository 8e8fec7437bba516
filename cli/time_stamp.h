// The time as collabctl prints it.
#pragma once

#include <string>

namespace ZYNE::Cli {

// As the log writes it: local time to the millisecond.
std::string TimeStamp();

}  // namespace ZYNE::Cli
