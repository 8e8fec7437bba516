// Is told when the screen of a trusted device goes on, off or is locked.
#pragma once

#include "platform/device_manager/dm_device_info.h"
#include "platform/export.h"

namespace ZYNE {

class PLATFORM_API DeviceScreenStatusCallback {
public:
    virtual ~DeviceScreenStatusCallback() = default;

    // On any thread of the port, several at once, never inside an operation of DeviceManager. The status is in the
    // extra data; its values are the port's.
    virtual void OnDeviceScreenStatus(const DmDeviceInfo& deviceInfo) = 0;
};

}  // namespace ZYNE
