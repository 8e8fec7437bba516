#include "host/peer_choice.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/picker_result.h"

namespace ZYNE::Host {
namespace {

bool IsMeant(const KnownPeer& peer, const std::string& wanted) {
    return peer.networkId == wanted || peer.name == wanted || ShortId(peer.udid) == wanted;
}

}  // namespace

KnownPeer ThisDevice() {
    const auto self = CollaborationFwk::CollaborationFwkServiceUtils::GetLocalDeviceInfo();
    if (self == nullptr) {
        return {};
    }
    return {
        self->GetDeviceUdid(), self->GetDeviceNetworkId(), self->GetDeviceName(), self->GetDeviceType(), true, true};
}

std::string ShortId(const std::string& udid) {
    return CollaborationFwk::PickerResult::StringToAnonymous(udid);
}

KnownPeer ChoosePeer(const std::vector<KnownPeer>& peers, const std::string& wanted) {
    std::vector<KnownPeer> meant;
    std::ranges::copy_if(peers, std::back_inserter(meant), [&](const auto& peer) { return IsMeant(peer, wanted); });
    if (meant.empty()) {
        throw UnknownPeer("no peer \"" + wanted + "\" has been seen");
    }
    if (meant.size() > 1 && std::ranges::count(meant, true, &KnownPeer::online) == 1) {
        std::erase_if(meant, [](const auto& peer) { return !peer.online; });
    }
    if (meant.size() > 1) {
        std::string ids;
        for (const KnownPeer& peer : meant) {
            ids += (ids.empty() ? "" : ", ") + ShortId(peer.udid);
        }
        throw AmbiguousPeer("several peers are \"" + wanted + "\", choose one by its id: " + ids);
    }
    return meant.front();
}

KnownPeer ChooseDevice(const std::vector<KnownPeer>& peers, const KnownPeer& self, const std::string& wanted) {
    return IsMeant(self, wanted) ? self : ChoosePeer(peers, wanted);
}

void SortByName(std::vector<KnownPeer>& peers) {
    std::ranges::sort(peers, {}, [](const KnownPeer& peer) { return std::tie(peer.name, peer.udid); });
}

std::string NameOf(const std::vector<KnownPeer>& peers, const KnownPeer& self, const std::string& udid) {
    if (self.udid == udid) {
        return self.name;
    }
    const auto peer = std::ranges::find(peers, udid, &KnownPeer::udid);
    return peer != peers.end() ? peer->name : std::string();
}

}  // namespace ZYNE::Host
