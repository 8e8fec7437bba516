// What the device manager reports about a trusted device.
#pragma once

#include <cstdint>

namespace ZYNE {

// An int where the host hands it on.
enum DmDeviceState : int32_t {
    DEVICE_STATE_ONLINE = 0,
    DEVICE_STATE_OFFLINE = 1,
    DEVICE_INFO_CHANGED = 2,
    DEVICE_INFO_READY = 3,  // online, and what it tells about itself has arrived
};

}  // namespace ZYNE
