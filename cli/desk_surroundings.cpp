#include "cli/desk_surroundings.h"

#include <algorithm>

#include "cli/command.h"

namespace ZYNE::Cli {
namespace {

using Companion::HeldPlacement;
using Companion::Part;
using Companion::Placement;

std::string PartText(const Part& part) {
    if (part == Part()) {
        return "";
    }
    const auto percent = [](double value) {
        std::string text = std::to_string(value);
        text.erase(text.find_last_not_of('0') + 1);
        return text.ends_with('.') ? text.substr(0, text.size() - 1) : text;
    };
    return " " + percent(part.from) + "-" + percent(part.to) + " %";
}

}  // namespace

std::string Surroundings::NameOf(const std::string& id) const {
    if (id == self.id) {
        return self.name;
    }
    const auto peer = std::ranges::find(peers, id, &Client::Peer::id);
    return peer == peers.end() ? id : peer->name;
}

std::string Surroundings::Words(const Placement& placement) const {
    std::string words = NameOf(placement.peer) + ' ' + Companion::SideName(placement.side);
    if (!placement.display.empty()) {
        words += " of " + placement.display;
    }
    return words + PartText(placement.part);
}

Surroundings LookAround(Client::Device& device) {
    Surroundings around{device.Info().FindPeer(device.Name()), device.Info().ListPeers(), {}};
    for (const Client::ProfileEntry& entry : device.Profiles().List("")) {
        if (entry.service == Companion::PROFILE_SERVICE && entry.whole) {
            around.book.Add(entry.deviceId, entry.key, entry.value);
        }
    }
    return around;
}

std::string PeerId(Client::Device& device, const Surroundings& around, const std::string& peer) {
    const std::vector<HeldPlacement> all = around.book.All();
    if (std::ranges::any_of(all, [&](const HeldPlacement& held) { return held.placement.peer == peer; })) {
        return peer;
    }
    const Client::PeerName found = device.Info().FindPeer(peer);
    if (found.id == around.self.id) {
        throw CommandError("a device does not lie beside itself");
    }
    return found.id;
}

}  // namespace ZYNE::Cli
