// What a device tells about itself as a whole.
#pragma once

#include <string>

namespace ZYNE {

struct DeviceProfile {
    std::string deviceId;  // the udid
};

}  // namespace ZYNE
