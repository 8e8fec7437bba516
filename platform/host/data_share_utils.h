// Short ways to shared data.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/datashare/data_share_helper.h"
#include "platform/export.h"

namespace ZYNE::CollaborationFwk {

// Any thread; the rules of DataShareHelper hold. Every operation is defined by the port.
class PLATFORM_API DataShareUtils {
public:
    DataShareUtils() = delete;

    // Reads the setting `key` of the settings table `uri`. 0; otherwise the port's own code, as when there is no such
    // setting, and `value` may be untouched.
    static int32_t QueryStringValue(const std::string& uri, const std::string& key, std::string& value);

    // A helper for `uri`, by the right of the system ability `systemAbilityId`. The caller releases it after use. Null
    // on failure.
    static std::shared_ptr<DataShareHelper> GetDataShareHelper(const std::string& uri, int32_t systemAbilityId);
};

}  // namespace ZYNE::CollaborationFwk
