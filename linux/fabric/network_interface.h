// The network interface that a device uses.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::Linux {

struct NetworkInterface {
    std::string name;
    uint32_t address;  // IPv4, in the machine's byte order
    bool isLoopback;

    std::string AddressText() const;
};

// Throws std::runtime_error when no interface `name` is up with an IPv4 address.
NetworkInterface FindNetworkInterface(const std::string& name);

}  // namespace ZYNE::Linux
