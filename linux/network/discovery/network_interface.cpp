#include "linux/network/discovery/network_interface.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <ifaddrs.h>
#include <linux/if_addr.h>
#include <linux/if_packet.h>
#include <net/if.h>

namespace ZYNE::Linux {
namespace {

using AddressList = std::unique_ptr<ifaddrs, decltype(&freeifaddrs)>;
// An interface's index with an IPv6 address as 32 hexadecimal digits.
using Ipv6Place = std::pair<unsigned, std::string>;

AddressList ListAddresses() {
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) {
        throw std::runtime_error("the network interfaces cannot be listed: " + std::generic_category().message(errno));
    }
    return {all, &freeifaddrs};
}

// A label such as "eth0:1" may stand for the name.
std::string NameOf(const ifaddrs& entry) {
    const std::string name = entry.ifa_name;
    return name.substr(0, name.find(':'));
}

bool IsWanted(const std::vector<std::string>& names, const std::string& name, bool isLoopback) {
    return std::any_of(names.begin(), names.end(),
        [&](const std::string& each) { return each == name || (each == NetworkInterface::AUTOMATIC && !isLoopback); });
}

// By their names, still without addresses.
std::map<std::string, NetworkInterface> FindRunning(const ifaddrs* all, const std::vector<std::string>& names) {
    std::map<std::string, NetworkInterface> found;
    for (const ifaddrs* each = all; each != nullptr; each = each->ifa_next) {
        const bool isRunning = (each->ifa_flags & IFF_UP) != 0 && (each->ifa_flags & IFF_RUNNING) != 0;
        const bool isLoopback = (each->ifa_flags & IFF_LOOPBACK) != 0;
        if (isRunning && each->ifa_addr != nullptr && each->ifa_addr->sa_family == AF_PACKET &&
            IsWanted(names, each->ifa_name, isLoopback)) {
            const auto* link = reinterpret_cast<const sockaddr_ll*>(each->ifa_addr);
            found[each->ifa_name] = {link->sll_ifindex, each->ifa_name, isLoopback, {}, {}};
        }
    }
    return found;
}

// getifaddrs does not say in which state an address is. Without /proc all are taken for usable.
std::set<Ipv6Place> FindUnusable() {
    constexpr unsigned UNUSABLE = IFA_F_TENTATIVE | IFA_F_DADFAILED | IFA_F_DEPRECATED;
    std::set<Ipv6Place> found;
    std::ifstream file("/proc/net/if_inet6");
    std::string digits;
    unsigned index = 0;
    unsigned prefix = 0;
    unsigned scope = 0;
    unsigned flags = 0;
    std::string name;
    while (file >> digits >> std::hex >> index >> prefix >> scope >> flags >> name) {
        if ((flags & UNUSABLE) != 0) {
            found.emplace(index, digits);
        }
    }
    return found;
}

bool IsUsable(const std::set<Ipv6Place>& unusable, int index, const sockaddr* address) {
    std::string digits;
    for (const unsigned char byte : reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr.s6_addr) {
        std::array<char, 3> two{};
        std::snprintf(two.data(), two.size(), "%02x", byte);
        digits += two.data();
    }
    return !unusable.contains({static_cast<unsigned>(index), digits});
}

// The kernel takes the highest address of a subnet for its broadcast address even where none has been set.
std::optional<Endpoint> BroadcastOf(const ifaddrs& entry) {
    if ((entry.ifa_flags & IFF_BROADCAST) == 0 || entry.ifa_netmask == nullptr) {
        return std::nullopt;
    }
    sockaddr_in address = *reinterpret_cast<const sockaddr_in*>(entry.ifa_addr);
    const uint32_t hosts = ~ntohl(reinterpret_cast<const sockaddr_in*>(entry.ifa_netmask)->sin_addr.s_addr);
    if (hosts < 3) {
        return std::nullopt;
    }
    address.sin_addr.s_addr |= htonl(hosts);
    return Endpoint(reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

void AddIpv4(NetworkInterface& interface, const ifaddrs& entry) {
    interface.addresses.emplace_back(entry.ifa_addr, sizeof(sockaddr_in));
    const std::optional<Endpoint> broadcast =
        interface.isLoopback ? Endpoint::FromText("127.255.255.255", 0) : BroadcastOf(entry);
    auto& known = interface.broadcasts;
    if (broadcast && std::find(known.begin(), known.end(), *broadcast) == known.end()) {
        known.push_back(*broadcast);
    }
}

void AddAddresses(std::map<std::string, NetworkInterface>& interfaces, const ifaddrs* all) {
    const std::set<Ipv6Place> unusable = FindUnusable();
    for (const ifaddrs* each = all; each != nullptr; each = each->ifa_next) {
        const auto found = interfaces.find(NameOf(*each));
        if (each->ifa_addr == nullptr || found == interfaces.end()) {
            continue;
        }
        NetworkInterface& interface = found->second;
        if (each->ifa_addr->sa_family == AF_INET) {
            AddIpv4(interface, *each);
        } else if (each->ifa_addr->sa_family == AF_INET6 && IsUsable(unusable, interface.index, each->ifa_addr)) {
            interface.addresses.emplace_back(each->ifa_addr, sizeof(sockaddr_in6));
        }
    }
}

}  // namespace

bool NetworkInterface::Has(int family) const {
    return std::any_of(
        addresses.begin(), addresses.end(), [&](const Endpoint& each) { return each.Family() == family; });
}

std::vector<NetworkInterface> ReadNetworkInterfaces(const std::vector<std::string>& names) {
    const AddressList all = ListAddresses();
    std::map<std::string, NetworkInterface> interfaces = FindRunning(all.get(), names);
    AddAddresses(interfaces, all.get());
    std::vector<NetworkInterface> usable;
    for (auto& [name, interface] : interfaces) {
        if (!interface.addresses.empty()) {
            usable.push_back(std::move(interface));
        }
    }
    std::sort(usable.begin(), usable.end(),
        [](const NetworkInterface& a, const NetworkInterface& b) { return a.index < b.index; });
    return usable;
}

}  // namespace ZYNE::Linux
