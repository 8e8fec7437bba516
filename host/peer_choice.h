// Finds the peer that a program means.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "host/device_api.h"

namespace ZYNE::Host {

class UnknownPeer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class AmbiguousPeer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A peer's id as people see it.
std::string ShortId(const KnownPeer& peer);

// The peer of `peers` with the network id, the name or the short id `wanted`. Of several of one name that online
// counts, if only one is. Throws UnknownPeer or AmbiguousPeer.
KnownPeer ChoosePeer(const std::vector<KnownPeer>& peers, const std::string& wanted);

}  // namespace ZYNE::Host
