// A device as the device manager knows it.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE {

struct DmDeviceInfo {
    static constexpr int32_t IDENTICAL_ACCOUNT = 1;

    std::string deviceId;   // lasting; the udid where the device manager has no ids of its own
    std::string networkId;  // new at every start of the device
    std::string deviceName;
    // A JSON object with, among others, the integer "OS_TYPE" and, for OnDeviceScreenStatus, the integer
    // "DEVICE_SCREEN_STATUS". Comes from the device and is not to be trusted.
    std::string extraData;
    uint32_t deviceTypeId = 0;
    int32_t authForm = 0;  // how the device is trusted: IDENTICAL_ACCOUNT; any other value is not by the account
};

}  // namespace ZYNE
