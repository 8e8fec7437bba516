#include "platform/log/printable_text.h"

#include <algorithm>
#include <cstddef>

namespace ZYNE {
namespace {

constexpr unsigned char FIRST_PRINTABLE = 0x20;
constexpr unsigned char DELETE = 0x7f;

struct Range {
    char32_t first;
    char32_t last;
};
constexpr Range HIDDEN[] = {{0, 0x1f}, {0x7f, 0x9f}, {0xad, 0xad}, {0x61c, 0x61c}, {0x115f, 0x1160}, {0x17b4, 0x17b5},
    {0x180b, 0x180f}, {0x200b, 0x200f}, {0x2028, 0x202e}, {0x2060, 0x206f}, {0x3164, 0x3164}, {0xfeff, 0xfeff},
    {0xffa0, 0xffa0}, {0xfff0, 0xfffb}, {0x1bca0, 0x1bca3}, {0x1d173, 0x1d17a}, {0xe0000, 0xe007f}};

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U;
}

size_t SequenceLength(unsigned char lead) {
    if (lead >= 0xc2 && lead <= 0xdf) {
        return 2;
    }
    if ((lead & 0xf0U) == 0xe0U) {
        return 3;
    }
    return lead >= 0xf0 && lead <= 0xf4 ? 4 : 0;
}

// The length of the printable character beyond ASCII at the start of `text`; 0 when there is none.
size_t PrintableLength(std::string_view text) {
    constexpr char32_t LEAST[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text.front());
    const size_t length = SequenceLength(lead);
    if (length == 0 || length > text.size()) {
        return 0;
    }
    char32_t character = lead & (0x7fU >> length);
    for (const char byte : text.substr(1, length - 1)) {
        if (!IsContinuation(byte)) {
            return 0;
        }
        character = (character << 6U) | (static_cast<unsigned char>(byte) & 0x3fU);
    }
    const bool surrogate = character >= 0xd800 && character <= 0xdfff;
    return character >= LEAST[length] && character <= 0x10ffff && !surrogate && !IsHidden(character) ? length : 0;
}

void AppendEscaped(std::string& line, unsigned char byte) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    switch (byte) {
    case '\n':
        line += "\\n";
        break;
    case '\r':
        line += "\\r";
        break;
    case '\t':
        line += "\\t";
        break;
    default:
        line += "\\x";
        line += DIGITS[byte >> 4U];
        line += DIGITS[byte & 0x0fU];
    }
}

}  // namespace

bool IsHidden(char32_t character) {
    return std::ranges::any_of(
        HIDDEN, [character](const Range& range) { return character >= range.first && character <= range.last; });
}

void AppendPrintable(std::string& line, std::string_view text) {
    while (!text.empty()) {
        size_t plain = 0;
        while (plain < text.size() && static_cast<unsigned char>(text[plain]) >= FIRST_PRINTABLE &&
            static_cast<unsigned char>(text[plain]) < DELETE) {
            ++plain;
        }
        line += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) {
            return;
        }
        const size_t length = PrintableLength(text);
        if (length == 0) {
            AppendEscaped(line, static_cast<unsigned char>(text.front()));
        } else {
            line += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
}

std::string_view CutText(std::string_view text, size_t most) {
    if (text.size() <= most) {
        return text;
    }
    size_t end = most;
    while (end > 0 && most - end < 3 && IsContinuation(text[end])) {
        --end;
    }
    return text.substr(0, end);
}

}  // namespace ZYNE
