// Small questions that the library has for the host.
#pragma once

#include <cstdint>
#include <string>

#include "platform/export.h"
#include "platform/host/device_info.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Defined by the port.
class PLATFORM_API CollaborationFwkServiceUtils {
public:
    CollaborationFwkServiceUtils() = delete;

    // An id that no request under way uses. Ids may come again after a long time.
    static uint32_t ObtainIdleCollaborationId();

    // This device; null while it is not known.
    static sptr<DeviceInfo> GetLocalDeviceInfo();

    // The udid of the device that has, or has had in this run, the network id: a peer, also one that has just left, or
    // this device. Empty when nobody had it.
    static std::string GetPeerDeviceUdid(const std::string& networkId);
};

}  // namespace ZYNE::CollaborationFwk
