#include "linux/network/discovery/beacon_socket.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

#include "linux/network/link/network_log.h"

namespace ZYNE::Linux {
namespace {

constexpr int MAX_AT_ONCE = 32;  // datagrams taken before others on the loop get their turn
constexpr const char* GROUP_IPV4 = "239.255.47.21";
constexpr const char* GROUP_IPV6 = "ff02::4721";

bool Set(int socket, int level, int option, int value) {
    return setsockopt(socket, level, option, &value, sizeof(value)) == 0;
}

UniqueFd MakeSocket(const std::string& interface, int family) {
    UniqueFd socket(::socket(family, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket ||
        setsockopt(socket.Get(), SOL_SOCKET, SO_BINDTODEVICE, interface.c_str(),
            static_cast<socklen_t>(interface.size())) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    Set(socket.Get(), SOL_SOCKET, SO_REUSEADDR, 1);
    if (family == AF_INET6) {
        Set(socket.Get(), IPPROTO_IPV6, IPV6_V6ONLY, 1);
        Set(socket.Get(), IPPROTO_IPV6, IPV6_MULTICAST_HOPS, 1);
    } else {
        Set(socket.Get(), SOL_SOCKET, SO_BROADCAST, 1);
        Set(socket.Get(), IPPROTO_IP, IP_MULTICAST_TTL, 1);
    }
    return socket;
}

bool JoinIpv4(int socket, int interface) {
    ip_mreqn group{};
    group.imr_ifindex = interface;
    const Endpoint address = *Endpoint::FromText(GROUP_IPV4, 0);
    group.imr_multiaddr = reinterpret_cast<const sockaddr_in*>(address.Get())->sin_addr;
    return setsockopt(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof(group)) == 0 &&
        setsockopt(socket, IPPROTO_IP, IP_MULTICAST_IF, &group, sizeof(group)) == 0;
}

bool JoinIpv6(int socket, int interface) {
    ipv6_mreq group{};
    group.ipv6mr_interface = static_cast<unsigned>(interface);
    const Endpoint address = *Endpoint::FromText(GROUP_IPV6, 0);
    group.ipv6mr_multiaddr = reinterpret_cast<const sockaddr_in6*>(address.Get())->sin6_addr;
    return setsockopt(socket, IPPROTO_IPV6, IPV6_JOIN_GROUP, &group, sizeof(group)) == 0 &&
        Set(socket, IPPROTO_IPV6, IPV6_MULTICAST_IF, interface);
}

}  // namespace

BeaconSocket::BeaconSocket(
    EventLoop& loop, const NetworkInterface& interface, int family, uint16_t port, Handler handler)
    : interface_(interface.name), handler_(std::move(handler)), socket_(MakeSocket(interface_, family)) {
    Bind(family, port);
    if (!interface.isLoopback) {
        Join(interface, family);
    }
    AddTargets(interface, family, port);
    arrival_ = loop.Watch(socket_.Get(), POLLIN, [this](uint32_t) { Take(); });
}

void BeaconSocket::Bind(int family, uint16_t port) {
    const Endpoint any = *Endpoint::FromText(family == AF_INET6 ? "::" : "0.0.0.0", port);
    if (bind(socket_.Get(), any.Get(), any.Size()) != 0) {
        Note("UDP port " + std::to_string(port), errno);
    }
}

void BeaconSocket::Join(const NetworkInterface& interface, int family) {
    const bool isJoined =
        family == AF_INET6 ? JoinIpv6(socket_.Get(), interface.index) : JoinIpv4(socket_.Get(), interface.index);
    if (!isJoined) {
        Note(family == AF_INET6 ? GROUP_IPV6 : GROUP_IPV4, errno);
    }
}

void BeaconSocket::AddTargets(const NetworkInterface& interface, int family, uint16_t port) {
    if (!interface.isLoopback) {  // there broadcast reaches everyone
        targets_.push_back(*Endpoint::FromText(family == AF_INET6 ? GROUP_IPV6 : GROUP_IPV4, port));
    }
    if (family == AF_INET) {
        for (Endpoint broadcast : interface.broadcasts) {
            broadcast.SetPort(port);
            targets_.push_back(broadcast);
        }
    }
}

void BeaconSocket::Note(const std::string& what, int error) {
    problem_ = what + " cannot be used on " + interface_ + ": " + std::generic_category().message(error);
}

void BeaconSocket::Send(std::string_view datagram) {
    int error = 0;
    for (const Endpoint& target : targets_) {
        if (sendto(socket_.Get(), datagram.data(), datagram.size(), 0, target.Get(), target.Size()) < 0) {
            error = errno;
        }
    }
    if (error != 0 && !isSendingBroken_) {
        NetworkPrint(LogLevel::DEBUG, "the beacon cannot be sent on %{public}s: %{public}s", interface_,
            std::generic_category().message(error));
    }
    isSendingBroken_ = error != 0;
}

void BeaconSocket::Resume() const {
    arrival_.SetEvents(POLLIN);
}

void BeaconSocket::Take() {
    std::array<char, MAX_BYTES> datagram{};
    for (int i = 0; i < MAX_AT_ONCE; ++i) {
        sockaddr_storage address{};
        socklen_t addressSize = sizeof(address);
        auto* from = reinterpret_cast<sockaddr*>(&address);
        const ssize_t size = recvfrom(socket_.Get(), datagram.data(), datagram.size(), 0, from, &addressSize);
        if (size < 0) {
            return;
        }
        if (!handler_({datagram.data(), static_cast<size_t>(size)}, Endpoint(from, addressSize))) {
            arrival_.SetEvents(0);
            return;
        }
    }
}

}  // namespace ZYNE::Linux
