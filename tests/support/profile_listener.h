// Characteristics, and a listener of profile changes that hands them on and passes over the rest.
#pragma once

#include <functional>
#include <utility>

#include "platform/device_profile/profile_change_listener.h"
#include "platform/device_profile/subscribe_info.h"

namespace ZYNE::Testing {

class ProfileListener final : public ProfileChangeListenerStub {
public:
    // What is added, updated (the new one) or deleted.
    using Handler = std::function<void(ProfileChangeType change, const CharacteristicProfile& profile)>;

    explicit ProfileListener(Handler handler) : handler_(std::move(handler)) {}

    int32_t OnTrustDeviceProfileAdd(const TrustDeviceProfile&) override { return 0; }
    int32_t OnTrustDeviceProfileDelete(const TrustDeviceProfile&) override { return 0; }
    int32_t OnTrustDeviceProfileUpdate(const TrustDeviceProfile&, const TrustDeviceProfile&) override { return 0; }
    int32_t OnDeviceProfileAdd(const DeviceProfile&) override { return 0; }
    int32_t OnDeviceProfileDelete(const DeviceProfile&) override { return 0; }
    int32_t OnDeviceProfileUpdate(const DeviceProfile&, const DeviceProfile&) override { return 0; }
    int32_t OnServiceProfileAdd(const ServiceProfile&) override { return 0; }
    int32_t OnServiceProfileDelete(const ServiceProfile&) override { return 0; }
    int32_t OnServiceProfileUpdate(const ServiceProfile&, const ServiceProfile&) override { return 0; }
    int32_t OnCharacteristicProfileAdd(const CharacteristicProfile& profile) override {
        return Handle(ProfileChangeType::CHARACTERISTIC_ADD, profile);
    }
    int32_t OnCharacteristicProfileDelete(const CharacteristicProfile& profile) override {
        return Handle(ProfileChangeType::CHARACTERISTIC_DELETE, profile);
    }
    int32_t OnCharacteristicProfileUpdate(
        const CharacteristicProfile&, const CharacteristicProfile& newProfile) override {
        return Handle(ProfileChangeType::CHARACTERISTIC_UPDATE, newProfile);
    }

private:
    int32_t Handle(ProfileChangeType change, const CharacteristicProfile& profile) {
        handler_(change, profile);
        return 0;
    }

    const Handler handler_;
};

inline CharacteristicProfile ProfileOf(
    const std::string& device, const std::string& service, const std::string& key, const std::string& value) {
    CharacteristicProfile profile;
    profile.SetDeviceId(device);
    profile.SetServiceName(service);
    profile.SetCharacteristicKey(key);
    profile.SetCharacteristicValue(value);
    return profile;
}

// A subscription of all changes of one characteristic.
inline SubscribeInfo SubscriptionOf(
    const std::string& udid, const std::string& service, const std::string& key, ProfileListener::Handler handler) {
    SubscribeInfo info;
    info.SetSubscribeKey(udid, service, key, "characteristicValue", CharacteristicProfile::ALL_USERS);
    for (const ProfileChangeType type : {ProfileChangeType::CHARACTERISTIC_UPDATE,
             ProfileChangeType::CHARACTERISTIC_ADD, ProfileChangeType::CHARACTERISTIC_DELETE}) {
        info.AddProfileChangeType(type);
    }
    info.SetListener(sptr<IProfileChangeListener>(new ProfileListener(std::move(handler))));
    return info;
}

}  // namespace ZYNE::Testing
