// What a subscription of device profiles asks for, and who is told.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/device_profile/characteristic_profile.h"
#include "platform/device_profile/profile_change_listener.h"
#include "platform/export.h"
#include "platform/ipc/ref_base.h"

namespace ZYNE {

enum class ProfileChangeType : int32_t {
    CHARACTERISTIC_ADD = 10,
    CHARACTERISTIC_UPDATE = 11,
    CHARACTERISTIC_DELETE = 12,
};

// The one characteristic that a subscription is about.
struct SubscribeKey {
    std::string deviceId;  // the udid
    std::string serviceName;
    std::string characteristicKey;
    std::string characteristicValueName;  // the field of the profile whose changes count
    int32_t userId = CharacteristicProfile::ALL_USERS;

    bool operator==(const SubscribeKey&) const = default;
};

class PLATFORM_API SubscribeInfo {
public:
    // The system ability that keeps the profiles.
    void SetSaId(int32_t saId) { saId_ = saId; }
    void SetSubscribeKey(const std::string& deviceId, const std::string& serviceName,
        const std::string& characteristicKey, const std::string& characteristicValueName, int32_t userId) {
        key_ = {deviceId, serviceName, characteristicKey, characteristicValueName, userId};
    }
    // Changes of types that were not added are not reported.
    void AddProfileChangeType(ProfileChangeType type) { changeTypes_.push_back(type); }
    void SetListener(sptr<IProfileChangeListener> listener) { listener_ = std::move(listener); }

    // Whether a change of this type to `profile` is what the subscription asks for. ALL_USERS, on either side, fits
    // every user.
    bool Wants(const CharacteristicProfile& profile, ProfileChangeType type) const;

    int32_t GetSaId() const { return saId_; }
    const SubscribeKey& GetSubscribeKey() const { return key_; }
    // In the order in which they were added.
    const std::vector<ProfileChangeType>& GetProfileChangeTypes() const { return changeTypes_; }
    const sptr<IProfileChangeListener>& GetListener() const { return listener_; }

private:
    int32_t saId_ = 0;
    SubscribeKey key_;
    std::vector<ProfileChangeType> changeTypes_;
    sptr<IProfileChangeListener> listener_;
};

}  // namespace ZYNE
