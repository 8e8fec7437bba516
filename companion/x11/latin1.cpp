#include "companion/x11/latin1.h"

#include <cstddef>

namespace ZYNE::Companion {

std::string Latin1ToUtf8(std::string_view text) {
    std::string utf8;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x80) {
            utf8 += character;
        } else {
            utf8 += static_cast<char>(0xC0U | code >> 6U);
            utf8 += static_cast<char>(0x80U | (code & 0x3FU));
        }
    }
    return utf8;
}

std::string Utf8ToLatin1(std::string_view text) {
    const auto byte = [text](size_t index) -> unsigned {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    };
    const auto isMore = [&](size_t index) {
        return (byte(index) & 0xC0U) == 0x80U;
    };
    std::string latin1;
    for (size_t at = 0; at < text.size(); ++at) {
        const unsigned first = byte(at);
        if (first < 0x80) {
            latin1 += text[at];
        } else if ((first == 0xC2 || first == 0xC3) && isMore(at + 1)) {
            latin1 += static_cast<char>((first & 3U) << 6U | (byte(++at) & 0x3FU));
        } else {
            latin1 += '?';
            while (isMore(at + 1)) {
                ++at;
            }
        }
    }
    return latin1;
}

}  // namespace ZYNE::Companion
