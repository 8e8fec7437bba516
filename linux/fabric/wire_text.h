// Texts of bounded length in messages.
#pragma once

#include <array>
#include <cstring>
#include <string>

namespace ZYNE::Linux {

// Copies `text` and a zero byte. False when it does not fit or holds a zero byte itself.
template <size_t SIZE>
bool CopyText(const std::string& text, char (&field)[SIZE]) {
    if (text.size() >= SIZE || text.find('\0') != std::string::npos) {
        return false;
    }
    std::memcpy(field, text.c_str(), text.size() + 1);
    return true;
}

}  // namespace ZYNE::Linux
