// The one encoding besides UTF-8 that old programs use on an X display.
#pragma once

#include <string>
#include <string_view>

namespace ZYNE::Companion {

std::string Latin1ToUtf8(std::string_view text);
// What Latin-1 has not, or is no UTF-8, becomes a question mark.
std::string Utf8ToLatin1(std::string_view text);

}  // namespace ZYNE::Companion
