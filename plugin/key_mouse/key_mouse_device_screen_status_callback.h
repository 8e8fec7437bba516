// Tells the clients that listen for screens when the screen of a peer goes on or off.
#pragma once

#include "platform/device_manager/device_screen_status_callback.h"

namespace ZYNE::CollaborationFwk {

// On threads of the port, several at once.
class KeyMouseDeviceScreenStatusCallback final : public DeviceScreenStatusCallback {
public:
    // Extra data without a status tells nobody.
    void OnDeviceScreenStatus(const DmDeviceInfo& deviceInfo) override;
};

}  // namespace ZYNE::CollaborationFwk
