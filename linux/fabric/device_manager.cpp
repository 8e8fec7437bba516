// The seam's device manager: every device that is seen is of this account, and so is trusted.
#include "platform/device_manager/device_manager.h"

#include <map>
#include <mutex>
#include <utility>

#include "linux/fabric/fabric.h"
#include "linux/fabric/fabric_code.h"

namespace ZYNE::Linux {
namespace {

class FabricDeviceManager final : public DeviceManager {
public:
    int32_t GetTrustedDeviceList(
        const std::string& /*pkgName*/, const std::string& /*extra*/, std::vector<DmDeviceInfo>& deviceList) override {
        if (Fabric::GetInstance().Node() == nullptr) {
            return FABRIC_NOT_RUNNING;
        }
        std::vector<DmDeviceInfo> online;
        for (Fabric::PeerStatus& peer : Fabric::GetInstance().ListPeers()) {
            if (peer.online) {
                online.push_back(std::move(peer.info));
            }
        }
        deviceList = std::move(online);
        return FABRIC_OK;
    }

    int32_t GetLocalDeviceInfo(const std::string& /*pkgName*/, DmDeviceInfo& deviceInfo) override {
        auto local = Fabric::GetInstance().LocalDevice();
        if (!local) {
            return FABRIC_NOT_RUNNING;
        }
        deviceInfo = std::move(*local);
        return FABRIC_OK;
    }

    int32_t RegisterDeviceScreenStatusCallback(
        const std::string& pkgName, std::shared_ptr<DeviceScreenStatusCallback> callback) override {
        if (callback == nullptr) {
            return FABRIC_INVALID_ARGUMENT;
        }
        const std::scoped_lock lock(mutex_);
        std::swap(screenCallbacks_[pkgName], callback);
        return FABRIC_OK;
    }

    int32_t UnRegisterDeviceScreenStatusCallback(const std::string& pkgName) override {
        std::map<std::string, std::shared_ptr<DeviceScreenStatusCallback>>::node_type removed;
        const std::scoped_lock lock(mutex_);
        removed = screenCallbacks_.extract(pkgName);
        return removed.empty() ? FABRIC_INVALID_ARGUMENT : FABRIC_OK;
    }

    // Devices of this port do not announce the state of their screens: it is not known, and no callback comes.
    int32_t GetDeviceScreenStatus(
        const std::string& /*pkgName*/, const std::string& /*networkId*/, int32_t& /*screenStatus*/) override {
        return FABRIC_NOT_KNOWN;
    }

private:
    std::mutex mutex_;
    // Guarded by mutex_, under which none is called or destroyed; by package.
    std::map<std::string, std::shared_ptr<DeviceScreenStatusCallback>> screenCallbacks_;
};

}  // namespace
}  // namespace ZYNE::Linux

namespace ZYNE {

DeviceManager& DeviceManager::GetInstance() {
    static auto& manager = *new Linux::FabricDeviceManager();
    return manager;
}

}  // namespace ZYNE
