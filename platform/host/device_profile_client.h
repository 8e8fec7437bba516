// The distributed device profile: values that each device publishes and its trusted peers read and watch.
#pragma once

#include <cstdint>
#include <string>

#include "platform/device_profile/characteristic_profile.h"
#include "platform/device_profile/service_profile.h"
#include "platform/device_profile/subscribe_info.h"
#include "platform/export.h"

namespace ZYNE::CollaborationFwk {

// Any thread. No operation calls a listener inline or waits for one that is running: the caller may hold locks that its
// listeners take, and may call from inside a listener.
//
// Every operation: 0 is success; NOT_READY while the profile service is not up yet; otherwise the port's own code.
class PLATFORM_API DeviceProfileClient {
public:
    static constexpr int32_t NOT_READY = 98566160;

    static DeviceProfileClient& GetInstance();  // defined by the port

    // Has the listener told of changes of the characteristic that the subscribe key names, from now on. One that is
    // known already is reported as added. The port holds the listener until the subscription ends; a device that leaves
    // does not end it.
    virtual int32_t SubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) = 0;

    // Ends the subscription with the same subscribe key and listener. A call that is under way may still be running
    // afterwards. Fails when there is none.
    virtual int32_t UnSubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) = 0;

    // Publishes a profile of this device: its device id is "LOCAL" or this device's udid, any other is refused.
    // Replaces the earlier one of the same name, and lasts over restarts. A characteristic needs no service profile.
    // Peers get it later.
    virtual int32_t PutServiceProfile(const ServiceProfile& profile) = 0;
    virtual int32_t PutCharacteristicProfile(const CharacteristicProfile& profile) = 0;

    // What is known here of the device `deviceId`, a peer's udid or one of this device's names; asks no peer. Fails,
    // and may leave `profile` untouched, when nothing is known.
    virtual int32_t GetCharacteristicProfile(const std::string& deviceId, const std::string& serviceName,
        const std::string& characteristicKey, CharacteristicProfile& profile) = 0;

protected:
    ~DeviceProfileClient() = default;
};

}  // namespace ZYNE::CollaborationFwk
