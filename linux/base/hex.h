// Bytes as hexadecimal digits.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ZYNE::Linux {

// Two digits for each byte.
std::string HexOf(std::string_view bytes);

// Two digits for each of `bytes` random bytes. Throws std::runtime_error when the system gives no random numbers.
std::string RandomHex(size_t bytes);

// The bytes that `digits` stand for. Throws std::runtime_error when they are not pairs of lower-case digits.
std::string BytesOfHex(std::string_view digits);

}  // namespace ZYNE::Linux
