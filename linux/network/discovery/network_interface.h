// A network interface that the device uses, as it is now.
#pragma once

#include <string>
#include <vector>

#include "linux/network/link/endpoint.h"

namespace ZYNE::Linux {

struct NetworkInterface {
    // Stands for every interface but loopback that is up and has a carrier, in place of names: each network that the
    // machine is on, whether or not a router is there. A bridge to which nothing is connected is not one.
    static constexpr const char* AUTOMATIC = "auto";

    int index = 0;
    std::string name;
    bool isLoopback = false;
    // Usable ones, port 0; IPv4 first. Never empty. An IPv6 address is left out while it is being tested or when others
    // have it too, and when it is deprecated.
    std::vector<Endpoint> addresses;
    std::vector<Endpoint> broadcasts;  // of the IPv4 addresses that have one, port 0; of a loopback 127.255.255.255

    // Whether it has an address of this family, AF_INET or AF_INET6.
    bool Has(int family) const;

    bool operator==(const NetworkInterface&) const = default;
};

// Those with one of `names` that are up, running, and have an address; in the order of their indices. Any thread.
// Throws std::runtime_error when they cannot be listed.
std::vector<NetworkInterface> ReadNetworkInterfaces(const std::vector<std::string>& names);

}  // namespace ZYNE::Linux
