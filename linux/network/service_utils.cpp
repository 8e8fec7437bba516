// The seam's questions about devices and ids.
#include "platform/host/collaboration_fwk_service_utils.h"

#include <atomic>
#include <random>

#include "linux/network/fabric.h"
#include "linux/network/fabric_node.h"

namespace ZYNE::CollaborationFwk {

using Linux::Fabric;

// Counts from a random number: an id comes again after 2^32 requests, long after the one that had it is over, and what
// is meant for an earlier run of this device does not hit a request of this one but by chance.
uint32_t CollaborationFwkServiceUtils::ObtainIdleCollaborationId() {
    static std::atomic<uint32_t> next(std::random_device{}());
    return next.fetch_add(1);
}

sptr<DeviceInfo> CollaborationFwkServiceUtils::GetLocalDeviceInfo() {
    const auto node = Fabric::GetInstance().Node();
    if (node == nullptr) {
        return nullptr;
    }
    const Linux::Announcement& self = node->Self();
    return MakeSptr<DeviceInfo>(self.udid, self.networkId, self.deviceName, self.deviceType);
}

std::string CollaborationFwkServiceUtils::GetPeerDeviceUdid(const std::string& networkId) {
    const auto node = Fabric::GetInstance().Node();
    if (node == nullptr) {
        return "";
    }
    return networkId == node->Self().networkId ? node->Self().udid : node->Peers().UdidOf(networkId);
}

}  // namespace ZYNE::CollaborationFwk
