// UTF-8 to UTF-16 and back, as parcels need it. Never throws on bad text.
#pragma once

#include <string>
#include <string_view>

#include "platform/export.h"

namespace ZYNE {

// What is not UTF-8 (overlong forms, surrogates, cut sequences) becomes U+FFFD.
PLATFORM_API std::u16string Str8ToStr16(std::string_view text);

// A surrogate without its partner becomes U+FFFD.
PLATFORM_API std::string Str16ToStr8(std::u16string_view text);

}  // namespace ZYNE
