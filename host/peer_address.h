// The address of a peer, as written in a configuration.
#pragma once

#include <string>

#include "linux/network/discovery/peer_address.h"

namespace ZYNE::Host {

// Reads "host", "host:port", "192.0.2.1:port", "[fe80::1%eth0]:port", "fd00::1". Without a port it is DEFAULT_PORT.
// Throws std::invalid_argument with what is wrong, to be added after the text.
Linux::PeerAddress ReadPeerAddress(const std::string& text);

}  // namespace ZYNE::Host
