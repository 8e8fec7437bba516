#include "linux/network/fabric_device_manager.h"

#include <utility>

#include "linux/network/fabric_node.h"
#include "linux/network/presence/fabric_code.h"

namespace ZYNE::Linux {

int32_t FabricDeviceManager::GetTrustedDeviceList(
    const std::string& /*pkgName*/, const std::string& /*extra*/, std::vector<DmDeviceInfo>& deviceList) {
    if (fabric_.Node() == nullptr) {
        return FABRIC_NOT_RUNNING;
    }
    std::vector<DmDeviceInfo> online;
    for (Fabric::PeerStatus& peer : fabric_.ListPeers()) {
        if (peer.online) {
            online.push_back(std::move(peer.info));
        }
    }
    deviceList = std::move(online);
    return FABRIC_OK;
}

int32_t FabricDeviceManager::GetLocalDeviceInfo(const std::string& /*pkgName*/, DmDeviceInfo& deviceInfo) {
    auto local = fabric_.LocalDevice();
    if (!local) {
        return FABRIC_NOT_RUNNING;
    }
    deviceInfo = std::move(*local);
    return FABRIC_OK;
}

int32_t FabricDeviceManager::RegisterDeviceScreenStatusCallback(
    const std::string& pkgName, std::shared_ptr<DeviceScreenStatusCallback> callback) {
    return screens_.Put(pkgName, callback);
}

int32_t FabricDeviceManager::UnRegisterDeviceScreenStatusCallback(const std::string& pkgName) {
    return screens_.Remove(pkgName);
}

int32_t FabricDeviceManager::GetDeviceScreenStatus(
    const std::string& /*pkgName*/, const std::string& networkId, int32_t& screenStatus) {
    const auto node = fabric_.Node();
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

}  // namespace ZYNE::Linux
