// A host on which a peer is looked for.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::Linux {

struct PeerAddress {
    std::string host;  // a name, an IPv4 address, or an IPv6 address without brackets, with its scope: "fe80::1%eth0"
    uint16_t port = 0;

    bool operator==(const PeerAddress&) const = default;
};

}  // namespace ZYNE::Linux
