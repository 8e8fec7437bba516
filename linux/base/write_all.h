// Writing to a descriptor to the end.
#pragma once

#include <string_view>

namespace ZYNE::Linux {

// Any thread. False when the system refuses to take the rest: errno says why.
bool WriteAll(int descriptor, std::string_view bytes);

}  // namespace ZYNE::Linux
