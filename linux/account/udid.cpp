#include "linux/account/udid.h"

#include <algorithm>
#include <array>

#include <openssl/rand.h>

#include "linux/account/openssl.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t LEAST_BYTES = 8;
constexpr size_t MOST_BYTES = 64;
constexpr std::string_view HEXADECIMAL = "0123456789abcdef";

bool IsUdidCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

}  // namespace

bool IsUdid(std::string_view text) {
    return text.size() >= LEAST_BYTES && text.size() <= MOST_BYTES && std::ranges::all_of(text, IsUdidCharacter);
}

std::string NewUdid() {
    std::array<unsigned char, MOST_BYTES / 2> bytes{};
    Must(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())), "no random numbers");
    std::string udid;
    for (const unsigned char byte : bytes) {
        udid += HEXADECIMAL[byte >> 4U];
        udid += HEXADECIMAL[byte & 0x0fU];
    }
    return udid;
}

}  // namespace ZYNE::Linux
