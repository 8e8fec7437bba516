// The lasting identity of a device.
#pragma once

#include <string>
#include <string_view>

namespace ZYNE::Linux {

// 8 to 64 letters, digits, "-" and "_": what fits a certificate's common name and needs no escape anywhere.
bool IsUdid(std::string_view text);

// 64 random hexadecimal digits. Throws std::runtime_error when the system gives no random numbers.
std::string NewUdid();

}  // namespace ZYNE::Linux
