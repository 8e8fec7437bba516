#include "linux/base/hex.h"

#include <stdexcept>

#include <sys/random.h>

namespace ZYNE::Linux {
namespace {

constexpr std::string_view DIGITS = "0123456789abcdef";

unsigned ValueOf(char digit) {
    const size_t value = DIGITS.find(digit);
    if (value == std::string_view::npos) {
        throw std::runtime_error("not hexadecimal digits");
    }
    return static_cast<unsigned>(value);
}

}  // namespace

std::string HexOf(std::string_view bytes) {
    std::string digits;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        digits += DIGITS[value >> 4U];
        digits += DIGITS[value & 0x0fU];
    }
    return digits;
}

std::string RandomHex(size_t bytes) {
    std::string random(bytes, '\0');
    if (getrandom(random.data(), bytes, 0) != static_cast<ssize_t>(bytes)) {  // whole up to 256 bytes
        throw std::runtime_error("no random numbers");
    }
    return HexOf(random);
}

std::string BytesOfHex(std::string_view digits) {
    if (digits.size() % 2 != 0) {
        throw std::runtime_error("not hexadecimal digits");
    }
    std::string bytes;
    for (size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(ValueOf(digits[i]) << 4U | ValueOf(digits[i + 1]));
    }
    return bytes;
}

}  // namespace ZYNE::Linux
