// How a peer device is trusted.
#pragma once

#include <string>

namespace ZYNE {

struct TrustDeviceProfile {
    std::string deviceId;  // the udid
};

}  // namespace ZYNE
