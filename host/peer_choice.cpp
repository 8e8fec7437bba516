#include "host/peer_choice.h"

#include <algorithm>

#include "platform/host/picker_result.h"

namespace ZYNE::Host {
namespace {

bool IsMeant(const KnownPeer& peer, const std::string& wanted) {
    return peer.networkId == wanted || peer.name == wanted || ShortId(peer) == wanted;
}

}  // namespace

std::string ShortId(const KnownPeer& peer) {
    return CollaborationFwk::PickerResult::StringToAnonymous(peer.udid);
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
            ids += (ids.empty() ? "" : ", ") + ShortId(peer);
        }
        throw AmbiguousPeer("several peers are \"" + wanted + "\", choose one by its id: " + ids);
    }
    return meant.front();
}

}  // namespace ZYNE::Host
