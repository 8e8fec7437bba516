// Whose data a URI means: each installed app declares how its URIs begin, and those of the system settings are always
// there.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/datashare/settings_data.h"

namespace ZYNE::Linux {

// Never changes once it is built. Any thread.
class ShareProviders {
public:
    // The system settings, with every table below.
    static constexpr std::string_view SETTINGS = SettingsData::PROVIDER;

    explicit ShareProviders(std::vector<std::string> declared);

    // The declared beginning that `path` lies under; empty when nobody provides it. If an app declares a share and one
    // below it, this is the upper one: whoever may use a share may use all below.
    std::string_view Find(std::string_view path) const;

private:
    std::vector<std::string> beginnings_;  // the shortest first
};

}  // namespace ZYNE::Linux
