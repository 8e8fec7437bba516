#include "plugin/utils/utf16.h"

#include "platform/ipc/string_conversion.h"

namespace ZYNE::CollaborationFwk {

std::optional<std::u16string> Utf8ToUtf16(std::string_view text) {
    std::u16string converted = Str8ToStr16(text);
    // The platform's conversion replaces what it cannot read; only text that it read as it stands comes back the same.
    if (Str16ToStr8(converted) != text) {
        return std::nullopt;
    }
    return converted;
}

}  // namespace ZYNE::CollaborationFwk
