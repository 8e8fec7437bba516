// Strict conversion of text from files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ZYNE::CollaborationFwk {

// `text` as UTF-16; nothing when it is not UTF-8 (overlong forms, surrogates and cut sequences included).
std::optional<std::u16string> Utf8ToUtf16(std::string_view text);

}  // namespace ZYNE::CollaborationFwk
