// The port's own result codes of the device profile. 0 is success; DeviceProfileClient::NOT_READY is the seam's.
#pragma once

#include <cstdint>

#include "platform/host/device_profile_client.h"

namespace ZYNE::Linux {

enum ProfileCode : int32_t {
    PROFILE_OK = 0,
    PROFILE_INVALID_ARGUMENT = 1,  // a name with a zero byte, or a subscription without listener
    PROFILE_NOT_OWN = 2,           // what is to be published names another device
    PROFILE_TOO_LARGE = 3,         // a name or value beyond its bound, or the device's profiles together beyond theirs
    PROFILE_TOO_MANY = 4,          // the device has as many profiles as it may have
    PROFILE_UNKNOWN = 5,           // nothing is known of what was asked for
    PROFILE_NOT_SUBSCRIBED = 6,    // there is no such subscription
    PROFILE_STORE_FAILED = 7,      // the store does not take it; the log says more
    PROFILE_NOT_READY = CollaborationFwk::DeviceProfileClient::NOT_READY
};

}  // namespace ZYNE::Linux
