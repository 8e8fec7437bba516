// What the bundle manager tells about an installed app and its abilities.
#pragma once

#include <string>
#include <vector>

namespace ZYNE {

// One metadata entry of an ability's manifest. `resource` names a file of the app, such as "$profile:info_collection".
struct Metadata {
    std::string name;
    std::string value;
    std::string resource;
};

struct AbilityInfo {
    std::string name;
    std::string bundleName;
    std::vector<Metadata> metadata;
};

struct ExtensionAbilityInfo {
    std::string name;
    std::string bundleName;
    std::vector<Metadata> metadata;
};

struct ApplicationInfo {
    std::string bundleName;
    bool enabled = false;
};

}  // namespace ZYNE
