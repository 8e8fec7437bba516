// A device as the library knows it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "platform/ipc/ref_base.h"

namespace ZYNE::CollaborationFwk {

// What a device is, as the numbers of the device manager.
namespace DeviceType {
inline constexpr uint32_t PHONE = 14;
inline constexpr uint32_t TABLET = 17;
inline constexpr uint32_t TV = 156;
inline constexpr uint32_t PC = 2607;
}  // namespace DeviceType

class PLATFORM_API DeviceInfo : public RefBase {
public:
    DeviceInfo(std::string udid, std::string networkId, std::string deviceName, uint32_t deviceType)
        : udid_(std::move(udid)), networkId_(std::move(networkId)), deviceName_(std::move(deviceName)),
          deviceType_(deviceType) {}

    // The device's own identity; it never changes.
    std::string GetDeviceUdid() const { return udid_; }
    // Where the device is reached while it is online; a new one every time that it comes up.
    std::string GetDeviceNetworkId() const { return networkId_; }
    std::string GetDeviceName() const { return deviceName_; }
    uint32_t GetDeviceType() const { return deviceType_; }

    void SetDeviceUdid(const std::string& udid) { udid_ = udid; }

private:
    std::string udid_;
    std::string networkId_;
    std::string deviceName_;
    uint32_t deviceType_;
};

}  // namespace ZYNE::CollaborationFwk
