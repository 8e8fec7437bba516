// Makes text from anywhere fit for a line on a terminal or in a log.
#pragma once

#include <string>
#include <string_view>

namespace ZYNE {

// Whether a terminal would not show the character itself: control characters, line separators, what has no width, what
// turns the direction of writing.
bool IsHidden(char32_t character);

// Appends `text` to `line` with every hidden character, and every byte that is not UTF-8, escaped: line feed, carriage
// return and tab as \n, \r and \t, the rest byte by byte as \x1b.
void AppendPrintable(std::string& line, std::string_view text);

// The first bytes of `text`, at most `most` of them, without cutting a UTF-8 sequence in two.
std::string_view CutText(std::string_view text, size_t most);

}  // namespace ZYNE
