// Passes changes of a peer's characteristics on: to the registered functions, to the key-mouse manager, and, when apps
// of the peer have changed their info, to the data-share URI from which apps of this device learn of it.
#pragma once

#include <cstdint>

#include "platform/device_profile/profile_change_listener.h"
#include "plugin/device_profile/device_profile_manager.h"

namespace ZYNE::CollaborationFwk {

// Any thread, several at once; held by sptr. Holds no lock while it tells others.
//
// The characteristic operations: 0; 1001 the change is of no interest to apps, or could not be passed to them.
class DeviceProfileManager::SubscribeDPChangeListener final : public ProfileChangeListenerStub {
public:
    // `deviceType` is the peer's.
    explicit SubscribeDPChangeListener(uint32_t deviceType = 0) : deviceType_(deviceType) {}

    int32_t OnTrustDeviceProfileAdd(const TrustDeviceProfile& profile) override;
    int32_t OnTrustDeviceProfileDelete(const TrustDeviceProfile& profile) override;
    int32_t OnTrustDeviceProfileUpdate(
        const TrustDeviceProfile& oldProfile, const TrustDeviceProfile& newProfile) override;
    int32_t OnDeviceProfileAdd(const DeviceProfile& profile) override;
    int32_t OnDeviceProfileDelete(const DeviceProfile& profile) override;
    int32_t OnDeviceProfileUpdate(const DeviceProfile& oldProfile, const DeviceProfile& newProfile) override;
    int32_t OnServiceProfileAdd(const ServiceProfile& profile) override;
    int32_t OnServiceProfileDelete(const ServiceProfile& profile) override;
    int32_t OnServiceProfileUpdate(const ServiceProfile& oldProfile, const ServiceProfile& newProfile) override;
    int32_t OnCharacteristicProfileAdd(const CharacteristicProfile& profile) override;
    int32_t OnCharacteristicProfileDelete(const CharacteristicProfile& profile) override;
    int32_t OnCharacteristicProfileUpdate(
        const CharacteristicProfile& oldProfile, const CharacteristicProfile& newProfile) override;

private:
    static void TellListeners(const CharacteristicProfile& profile, SyncProfileChangeType type);
    void TellKeyMouse(const char* operation, const CharacteristicProfile& profile);

    const uint32_t deviceType_;
};

}  // namespace ZYNE::CollaborationFwk
