#include "linux/fabric/network_interface.h"

#include <array>
#include <memory>
#include <stdexcept>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>

namespace ZYNE::Linux {

std::string NetworkInterface::AddressText() const {
    std::array<char, INET_ADDRSTRLEN> text{};
    const in_addr network{htonl(address)};
    inet_ntop(AF_INET, &network, text.data(), text.size());
    return text.data();
}

NetworkInterface FindNetworkInterface(const std::string& name) {
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) {
        throw std::runtime_error("the network interfaces cannot be listed");
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(all, freeifaddrs);
    for (const ifaddrs* each = all; each != nullptr; each = each->ifa_next) {
        const bool isUp = (each->ifa_flags & IFF_UP) != 0;
        if (isUp && name == each->ifa_name && each->ifa_addr != nullptr && each->ifa_addr->sa_family == AF_INET) {
            const auto& address = *reinterpret_cast<const sockaddr_in*>(each->ifa_addr);
            return {name, ntohl(address.sin_addr.s_addr), (each->ifa_flags & IFF_LOOPBACK) != 0};
        }
    }
    throw std::runtime_error("no network interface \"" + name + "\" that is up and has an IPv4 address");
}

}  // namespace ZYNE::Linux
