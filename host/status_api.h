// The part of a device's interface that tells whether its set-up is complete.
#pragma once

#include <string>
#include <vector>

#include <sdbus-c++/Types.h>

namespace ZYNE::Host {

struct Setup {
    using Setting = sdbus::Struct<std::string, bool, std::string, bool>;  // name, is set, value, is in the way

    bool complete;
    std::vector<Setting> settings;
};

// As GetSetup in device_api.xml. Blocks while the settings are read. Throws ApiError when they cannot be.
Setup ReadSetup();

}  // namespace ZYNE::Host
