// The device manager: trusted devices, this device, and screens.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/device_manager/device_manager.h"
#include "platform/host/device_info.h"
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// One thread, unless it does not change. In the journal: the operation and its arguments.
class FakeDeviceManager final : public DeviceManager, public FakeCalls {
public:
    explicit FakeDeviceManager(Journal& journal) : FakeCalls(journal) {}

    // A failing call still fills the list: a caller that looks at it is told apart from one that looks at the code.
    int32_t GetTrustedDeviceList(
        const std::string& pkgName, const std::string& extra, std::vector<DmDeviceInfo>& deviceList) override {
        deviceList = trusted;
        return Call("GetTrustedDeviceList", pkgName + ", " + extra);
    }
    int32_t GetLocalDeviceInfo(const std::string& pkgName, DmDeviceInfo& deviceInfo) override {
        deviceInfo = local;
        return Call("GetLocalDeviceInfo", pkgName);
    }
    int32_t RegisterDeviceScreenStatusCallback(
        const std::string& pkgName, std::shared_ptr<DeviceScreenStatusCallback> callback) override {
        screenCallback = std::move(callback);
        return Call("RegisterDeviceScreenStatusCallback", pkgName);
    }
    int32_t UnRegisterDeviceScreenStatusCallback(const std::string& pkgName) override {
        screenCallback.reset();
        return Call("UnRegisterDeviceScreenStatusCallback", pkgName);
    }
    int32_t GetDeviceScreenStatus(
        const std::string& pkgName, const std::string& networkId, int32_t& screenStatus) override {
        Call("GetDeviceScreenStatus", pkgName + ", " + networkId);
        const auto found = screens.find(networkId);
        screenStatus = found != screens.end() ? found->second : -1;
        return found != screens.end() ? 0 : 1;
    }

    std::vector<DmDeviceInfo> trusted;
    DmDeviceInfo local{"local-id", "local-network", "here", "", CollaborationFwk::DeviceType::PC, 0};
    std::map<std::string, int32_t> screens;  // by network id
    std::shared_ptr<DeviceScreenStatusCallback> screenCallback;
};

}  // namespace ZYNE::Testing
