#include "host/bus_text.h"

#include <algorithm>
#include <string_view>

#include "platform/ipc/string_conversion.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Host {

std::string BusText(const std::string& text) {
    std::u16string characters = Str8ToStr16(text);
    std::ranges::replace(characters, u'\0', u'\ufffd');
    return Str16ToStr8(characters);
}

BusExtract BusTextOfAtMost(const std::string& text, size_t most) {
    // Cut before as well as after: a text may be large, and replacing bytes makes it longer.
    const std::string beginning = BusText(std::string(CutText(text, most)));
    const std::string_view cut = CutText(beginning, most);
    return {std::string(cut), text.size() <= most && cut.size() == beginning.size()};
}

}  // namespace ZYNE::Host
