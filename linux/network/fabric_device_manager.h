// The seam's device manager: every device that is seen is of this account, and so is trusted.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "linux/network/fabric.h"
#include "platform/device_manager/device_manager.h"

namespace ZYNE::Linux {

// Any thread. Answers FabricCodes.
class FabricDeviceManager final : public DeviceManager {
public:
    // Both outlive the use of it.
    FabricDeviceManager(Fabric& fabric, ScreenCallbacks& screens) : fabric_(fabric), screens_(screens) {}

    int32_t GetTrustedDeviceList(
        const std::string& pkgName, const std::string& extra, std::vector<DmDeviceInfo>& deviceList) override;
    int32_t GetLocalDeviceInfo(const std::string& pkgName, DmDeviceInfo& deviceInfo) override;
    int32_t RegisterDeviceScreenStatusCallback(
        const std::string& pkgName, std::shared_ptr<DeviceScreenStatusCallback> callback) override;
    int32_t UnRegisterDeviceScreenStatusCallback(const std::string& pkgName) override;
    int32_t GetDeviceScreenStatus(
        const std::string& pkgName, const std::string& networkId, int32_t& screenStatus) override;

private:
    Fabric& fabric_;
    ScreenCallbacks& screens_;
};

}  // namespace ZYNE::Linux
