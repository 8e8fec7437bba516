// One value that a device publishes under one of its services.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE {

class CharacteristicProfile {
public:
    static constexpr int32_t ALL_USERS = -1;

    // The udid, or "LOCAL" for this device. A profile that comes from the port always has the udid.
    void SetDeviceId(const std::string& deviceId) { deviceId_ = deviceId; }
    void SetServiceName(const std::string& serviceName) { serviceName_ = serviceName; }
    void SetCharacteristicKey(const std::string& characteristicKey) { characteristicKey_ = characteristicKey; }
    // Any bytes. Those of a peer are not to be trusted.
    void SetCharacteristicValue(const std::string& characteristicValue) { characteristicValue_ = characteristicValue; }
    // The user of the device that the value belongs to.
    void SetUserId(int32_t userId) { userId_ = userId; }

    const std::string& GetDeviceId() const { return deviceId_; }
    const std::string& GetServiceName() const { return serviceName_; }
    const std::string& GetCharacteristicKey() const { return characteristicKey_; }
    const std::string& GetCharacteristicValue() const { return characteristicValue_; }
    int32_t GetUserId() const { return userId_; }

private:
    std::string deviceId_;
    std::string serviceName_;
    std::string characteristicKey_;
    std::string characteristicValue_;
    int32_t userId_ = ALL_USERS;
};

}  // namespace ZYNE
