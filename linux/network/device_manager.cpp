// The seam's device manager: every device that is seen is of this account, and so is trusted.
#include "platform/device_manager/device_manager.h"

#include <utility>

#include "linux/network/fabric.h"
#include "linux/network/fabric_node.h"
#include "linux/network/presence/fabric_code.h"
#include "linux/network/presence/screen_callbacks.h"

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
        return ScreenCallbacks::Get().Put(pkgName, std::move(callback));
    }

    int32_t UnRegisterDeviceScreenStatusCallback(const std::string& pkgName) override {
        return ScreenCallbacks::Get().Remove(pkgName);
    }

    int32_t GetDeviceScreenStatus(
        const std::string& /*pkgName*/, const std::string& networkId, int32_t& screenStatus) override {
        const auto node = Fabric::GetInstance().Node();
        if (node == nullptr) {
            return FABRIC_NOT_RUNNING;
        }
        const PeerPtr peer = node->Peers().FindOnline(networkId);
        if (!peer) {
            return FABRIC_PEER_OFFLINE;
        }
        if (peer->screenStatus == SCREEN_UNKNOWN) {
            return FABRIC_NOT_KNOWN;
        }
        screenStatus = peer->screenStatus;
        return FABRIC_OK;
    }
};

}  // namespace
}  // namespace ZYNE::Linux

namespace ZYNE {

DeviceManager& DeviceManager::GetInstance() {
    static auto& manager = *new Linux::FabricDeviceManager();
    return manager;
}

}  // namespace ZYNE
