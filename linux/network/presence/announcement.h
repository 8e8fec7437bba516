// What a device tells about itself.
#pragma once

#include <cstdint>
#include <string>

#include "linux/desktop/screen_status.h"
#include "platform/device_manager/dm_device_info.h"

namespace ZYNE::Linux {

struct Announcement {
    std::string udid;
    std::string networkId;
    std::string deviceName;
    uint32_t deviceType = 0;
    int32_t osType = 0;

    bool operator==(const Announcement&) const = default;
};

// What devices of this port announce: the type that the library takes for one that crosses keyboard and mouse.
inline constexpr int32_t OS_TYPE = 10;

// As the device manager gives it. Every device that is seen at all is of the same account.
inline DmDeviceInfo ToDeviceInfo(const Announcement& device) {
    DmDeviceInfo info;
    info.deviceId = device.udid;
    info.networkId = device.networkId;
    info.deviceName = device.deviceName;
    info.extraData = R"({"OS_TYPE":)" + std::to_string(device.osType) + "}";
    info.deviceTypeId = device.deviceType;
    info.authForm = DmDeviceInfo::IDENTICAL_ACCOUNT;
    return info;
}

// As a screen status callback gets it.
inline DmDeviceInfo ToScreenInfo(const Announcement& device, ScreenStatus screenStatus) {
    DmDeviceInfo info = ToDeviceInfo(device);
    info.extraData = R"({"OS_TYPE":)" + std::to_string(device.osType) + R"(,"DEVICE_SCREEN_STATUS":)" +
        std::to_string(screenStatus) + "}";
    return info;
}

}  // namespace ZYNE::Linux
