#include "linux/account/udid.h"

#include <algorithm>

#include "linux/base/hex.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t LEAST_CHARACTERS = 8;
constexpr size_t MAX_CHARACTERS = 64;

bool IsUdidCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

}  // namespace

bool IsUdid(std::string_view text) {
    return text.size() >= LEAST_CHARACTERS && text.size() <= MAX_CHARACTERS &&
        std::ranges::all_of(text, IsUdidCharacter);
}

std::string NewUdid() {
    return RandomHex(MAX_CHARACTERS / 2);
}

}  // namespace ZYNE::Linux
