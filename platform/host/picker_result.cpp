#include "platform/host/picker_result.h"

#include <algorithm>
#include <cstddef>

namespace ZYNE::CollaborationFwk {
namespace {

constexpr size_t MAX_SHOWN_AT_AN_END = 4;
constexpr size_t ENDS_SHARE = 8;  // an eighth of the text at either end

}  // namespace

std::string PickerResult::StringToAnonymous(const std::string& text) {
    const size_t shown = std::min(MAX_SHOWN_AT_AN_END, text.size() / ENDS_SHARE);
    return text.substr(0, shown) + "**" + text.substr(text.size() - shown);
}

}  // namespace ZYNE::CollaborationFwk
