// Numbers out of text.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <string>
#include <utility>

#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {

// Any thread.
class StringUtils {
public:
    StringUtils() = delete;

    // Whether the whole of `text`, zero bytes inside it included, is one number in `base` (as strtol reads it: blanks
    // and a sign may lead, and 0x in base 16) that fits a long, and the number; (false, 0) otherwise.
    static std::pair<bool, long> GetResult(const std::string& text, int base) {
        constexpr LogDomain LOG = LogDomains::CFWK_SERVICE;
        if (text.empty()) {
            CFWK_LOGE(LOG, "str is empty");
            return {false, 0};
        }
        char* end = nullptr;  // an invalid base leaves it untouched
        errno = 0;
        const long number = std::strtol(text.c_str(), &end, base);
        if (errno == ERANGE || end != text.c_str() + text.size()) {
            CFWK_LOGE(LOG, "strtol exec error");
            return {false, 0};
        }
        return {true, number};
    }
};

}  // namespace ZYNE::CollaborationFwk
