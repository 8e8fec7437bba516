#include "platform/ipc/string_conversion.h"

#include <cstddef>
#include <cstdint>

namespace ZYNE {
namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// Decodes the code point at `pos` and moves past it; a bad byte is skipped alone and reads as the replacement.
char32_t NextCodePoint(std::string_view text, size_t& pos) {
    const auto lead = static_cast<unsigned char>(text[pos++]);
    if (lead < 0x80) {
        return lead;
    }
    size_t more = 0;
    char32_t value = 0;
    char32_t least = 0;
    if ((lead & 0xE0) == 0xC0) {
        more = 1, value = lead & 0x1F, least = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        more = 2, value = lead & 0x0F, least = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        more = 3, value = lead & 0x07, least = 0x10000;
    } else {
        return REPLACEMENT;
    }
    size_t at = pos;
    for (; more > 0; --more, ++at) {
        if (at >= text.size() || !IsContinuation(text[at])) {
            return REPLACEMENT;
        }
        value = (value << 6) | (static_cast<unsigned char>(text[at]) & 0x3F);
    }
    if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        return REPLACEMENT;
    }
    pos = at;
    return value;
}

void AppendUtf8(std::string& out, char32_t value) {
    if (value < 0x80) {
        out += static_cast<char>(value);
    } else if (value < 0x800) {
        out += static_cast<char>(0xC0 | (value >> 6));
        out += static_cast<char>(0x80 | (value & 0x3F));
    } else if (value < 0x10000) {
        out += static_cast<char>(0xE0 | (value >> 12));
        out += static_cast<char>(0x80 | ((value >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (value & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (value >> 18));
        out += static_cast<char>(0x80 | ((value >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((value >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (value & 0x3F));
    }
}

}  // namespace

std::u16string Str8ToStr16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (size_t pos = 0; pos < text.size();) {
        const char32_t value = NextCodePoint(text, pos);
        if (value < 0x10000) {
            out += static_cast<char16_t>(value);
        } else {
            out += static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((value - 0x10000) & 0x3FF));
        }
    }
    return out;
}

std::string Str16ToStr8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t pos = 0; pos < text.size(); ++pos) {
        const char16_t unit = text[pos];
        const bool high = unit >= 0xD800 && unit <= 0xDBFF;
        const bool paired = high && pos + 1 < text.size() && text[pos + 1] >= 0xDC00 && text[pos + 1] <= 0xDFFF;
        if (paired) {
            AppendUtf8(out, 0x10000 + ((unit - 0xD800u) << 10) + (text[pos + 1] - 0xDC00u));
            ++pos;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            AppendUtf8(out, REPLACEMENT);
        } else {
            AppendUtf8(out, unit);
        }
    }
    return out;
}

}  // namespace ZYNE
