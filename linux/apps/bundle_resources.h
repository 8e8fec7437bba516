// The resource files of installed apps.
#pragma once

#include <string>
#include <vector>

#include "linux/apps/bundle_catalogue.h"
#include "platform/bundle/ability_info.h"

namespace ZYNE::Linux {

// As BundleMgrClient::GetResConfigFile says. What cannot be read costs a line in the log.
bool AppendProfiles(const BundleCatalogue& catalogue, const std::string& bundleName,
    const std::vector<Metadata>& metadata, const std::string& metadataName, std::vector<std::string>& profiles);

}  // namespace ZYNE::Linux
