// Reads resource files of installed apps.
#pragma once

#include <string>
#include <vector>

#include "platform/bundle/ability_info.h"
#include "platform/export.h"

namespace ZYNE {

// A value without state. Any thread.
class PLATFORM_API BundleMgrClient {
public:
    // Appends to `profiles` the text of the resource of every metadata entry of that name; earlier content stays. True
    // when at least one was read. Defined by the port.
    bool GetResConfigFile(
        const AbilityInfo& info, const std::string& metadataName, std::vector<std::string>& profiles) const;
    bool GetResConfigFile(
        const ExtensionAbilityInfo& info, const std::string& metadataName, std::vector<std::string>& profiles) const;
};

}  // namespace ZYNE
