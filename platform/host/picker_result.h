// Masks what a log must not show.
#pragma once

#include <string>

#include "platform/export.h"

namespace ZYNE::CollaborationFwk {

class PLATFORM_API PickerResult {
public:
    PickerResult() = delete;

    // Device ids, network ids and URIs as they may be logged: the first and last characters, at most four of each and
    // never more than a quarter of the text in all, with "**" between them. A text of fewer than eight characters, or
    // an empty one, becomes "**".
    static std::string StringToAnonymous(const std::string& text);
};

}  // namespace ZYNE::CollaborationFwk
