// Finds the device that a program means.
#pragma once

#include <string>
#include <vector>

#include "host/api_error.h"
#include "host/known_peer.h"

namespace ZYNE::Host {

class UnknownPeer : public ApiError {
public:
    explicit UnknownPeer(const std::string& message) : ApiError("UnknownPeer", message) {}
};

class AmbiguousPeer : public ApiError {
public:
    explicit AmbiguousPeer(const std::string& message) : ApiError("AmbiguousPeer", message) {}
};

// This device; its fields are empty while it is starting or ending.
KnownPeer ThisDevice();

// A device's id as people see it.
std::string ShortId(const std::string& udid);

// The peer with the network id, the name or the short id `wanted`. If several have the name and only one is online,
// that one. Throws UnknownPeer or AmbiguousPeer.
KnownPeer ChoosePeer(const std::vector<KnownPeer>& peers, const std::string& wanted);

// The same, but `self`, this device, may be meant as well; it comes first if it has the name.
KnownPeer ChooseDevice(const std::vector<KnownPeer>& peers, const KnownPeer& self, const std::string& wanted);

// Sorts peers into the order in which they are shown.
void SortByName(std::vector<KnownPeer>& peers);

// The name of the device `udid`; empty when it is neither `self` nor one of `peers`.
std::string NameOf(const std::vector<KnownPeer>& peers, const KnownPeer& self, const std::string& udid);

}  // namespace ZYNE::Host
