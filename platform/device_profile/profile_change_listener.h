// The callback through which changes of subscribed device profiles are reported.
#pragma once

#include <cstdint>

#include "platform/device_profile/characteristic_profile.h"
#include "platform/device_profile/device_profile.h"
#include "platform/device_profile/service_profile.h"
#include "platform/device_profile/trust_device_profile.h"
#include "platform/export.h"
#include "platform/ipc/remote_broker.h"

namespace ZYNE {

// On any thread of the port, several at once, never inside an operation of the profile client. Changes of one
// characteristic come one after another, in the order in which they were made. An old or deleted profile always has its
// names, but its value only where the port still knows it. The port passes over the result.
class PLATFORM_API IProfileChangeListener : public IRemoteBroker {
public:
    virtual int32_t OnTrustDeviceProfileAdd(const TrustDeviceProfile& profile) = 0;
    virtual int32_t OnTrustDeviceProfileDelete(const TrustDeviceProfile& profile) = 0;
    virtual int32_t OnTrustDeviceProfileUpdate(
        const TrustDeviceProfile& oldProfile, const TrustDeviceProfile& newProfile) = 0;
    virtual int32_t OnDeviceProfileAdd(const DeviceProfile& profile) = 0;
    virtual int32_t OnDeviceProfileDelete(const DeviceProfile& profile) = 0;
    virtual int32_t OnDeviceProfileUpdate(const DeviceProfile& oldProfile, const DeviceProfile& newProfile) = 0;
    virtual int32_t OnServiceProfileAdd(const ServiceProfile& profile) = 0;
    virtual int32_t OnServiceProfileDelete(const ServiceProfile& profile) = 0;
    virtual int32_t OnServiceProfileUpdate(const ServiceProfile& oldProfile, const ServiceProfile& newProfile) = 0;
    virtual int32_t OnCharacteristicProfileAdd(const CharacteristicProfile& profile) = 0;
    virtual int32_t OnCharacteristicProfileDelete(const CharacteristicProfile& profile) = 0;
    virtual int32_t OnCharacteristicProfileUpdate(
        const CharacteristicProfile& oldProfile, const CharacteristicProfile& newProfile) = 0;
};

class PLATFORM_API ProfileChangeListenerStub : public IRemoteStub<IProfileChangeListener> {};

}  // namespace ZYNE
