// A device, its peers, and what all of them say of where they lie.
#pragma once

#include <string>
#include <vector>

#include "client/device.h"
#include "companion/placements/placement_book.h"

namespace ZYNE::Cli {

struct Surroundings {
    Client::PeerName self;
    std::vector<Client::Peer> peers;
    Companion::PlacementBook book;

    // The id where the name is not known.
    std::string NameOf(const std::string& id) const;
    // "desk-pc right", with the display and the stretch when they are not all of it.
    std::string Words(const Companion::Placement& placement) const;
};

Surroundings LookAround(Client::Device& device);

// The id of the peer that is named `peer`; also that of one that has not been seen since the start, but is placed.
// Throws CommandError, or what Info::FindPeer throws.
std::string PeerId(Client::Device& device, const Surroundings& around, const std::string& peer);

}  // namespace ZYNE::Cli
