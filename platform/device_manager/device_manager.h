// Tells which devices are trusted and what state their screens are in.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/device_manager/device_screen_status_callback.h"
#include "platform/device_manager/dm_device_info.h"
#include "platform/export.h"

namespace ZYNE {

// Any thread. No operation calls a callback inline or waits for one that is running: the caller may hold locks that its
// callbacks take. `pkgName` names the caller.
//
// Every operation: 0 is success; otherwise the port's own code, and an out parameter may be untouched.
class PLATFORM_API DeviceManager {
public:
    static DeviceManager& GetInstance();  // defined by the port

    // Replaces `deviceList` by the trusted devices that are online, this one not among them. `extra` narrows the list
    // in the port's own way; empty does not.
    virtual int32_t GetTrustedDeviceList(
        const std::string& pkgName, const std::string& extra, std::vector<DmDeviceInfo>& deviceList) = 0;

    virtual int32_t GetLocalDeviceInfo(const std::string& pkgName, DmDeviceInfo& deviceInfo) = 0;

    // Has `callback` told of every trusted device's screen. One callback a package: a second one replaces the first,
    // and the same one again changes nothing. The port holds it until it is unregistered.
    virtual int32_t RegisterDeviceScreenStatusCallback(
        const std::string& pkgName, std::shared_ptr<DeviceScreenStatusCallback> callback) = 0;

    // A call that is under way may still be running afterwards. Fails when the package has no callback.
    virtual int32_t UnRegisterDeviceScreenStatusCallback(const std::string& pkgName) = 0;

    // The last screen status that the device `networkId` announced. Fails when the device is not known or announced
    // none.
    virtual int32_t GetDeviceScreenStatus(
        const std::string& pkgName, const std::string& networkId, int32_t& screenStatus) = 0;

protected:
    ~DeviceManager() = default;
};

}  // namespace ZYNE
