#include "linux/fabric/socket_restriction.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "linux/fabric/domain_ports.h"

namespace ZYNE::Linux {
namespace {

constexpr uint32_t DESTINATION_ADDRESS = static_cast<uint32_t>(SKF_NET_OFF) + 16;  // in the IPv4 header
constexpr uint32_t WHOLE_DATAGRAM = 0xffffffff;

std::vector<int> OpenDescriptors() {
    std::vector<int> descriptors;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const std::string name = entry.path().filename();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        descriptors.push_back(descriptor);
    }
    return descriptors;
}

int SocketOption(int descriptor, int option) {
    int value = -1;
    socklen_t size = sizeof(value);
    return getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

bool IsUdp(int descriptor) {
    return SocketOption(descriptor, SO_DOMAIN) == AF_INET && SocketOption(descriptor, SO_PROTOCOL) == IPPROTO_UDP;
}

// Whether the transport receives with it.
bool IsReceiverOf(uint32_t domain, int descriptor) {
    sockaddr_in bound{};
    socklen_t size = sizeof(bound);
    return getsockname(descriptor, reinterpret_cast<sockaddr*>(&bound), &size) == 0 &&
        bound.sin_addr.s_addr == htonl(INADDR_ANY) && IsPortOf(domain, ntohs(bound.sin_port));
}

void Must(int result) {
    if (result != 0) {
        throw std::runtime_error(
            "the sockets cannot be kept to the network interface: " + std::generic_category().message(errno));
    }
}

void Filter(int descriptor, uint32_t address, bool multicast) {
    // A jump counts the instructions that it skips.
    std::array program{
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, DESTINATION_ADDRESS),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, address, 3, 0),
        sock_filter BPF_STMT(BPF_ALU | BPF_AND | BPF_K, 0xf0000000),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0xe0000000, static_cast<uint8_t>(multicast ? 1 : 0), 0),
        sock_filter BPF_STMT(BPF_RET | BPF_K, 0),
        sock_filter BPF_STMT(BPF_RET | BPF_K, WHOLE_DATAGRAM),
    };
    const sock_fprog filter{program.size(), program.data()};
    Must(setsockopt(descriptor, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof(filter)));
}

}  // namespace

void RestrictSockets(uint32_t domain, const NetworkInterface& interface, bool multicast) {
    for (const int descriptor : OpenDescriptors()) {
        if (!IsUdp(descriptor)) {
            continue;
        }
        Must(fcntl(descriptor, F_SETFD, FD_CLOEXEC));
        if (!IsReceiverOf(domain, descriptor)) {
            continue;
        }
        Filter(descriptor, interface.address, multicast);
        if (interface.isLoopback) {
            // The filter does the work, also where an old kernel reserves this for the superuser; with this, listings
            // of sockets tell.
            setsockopt(descriptor, SOL_SOCKET, SO_BINDTODEVICE, interface.name.data(),
                static_cast<socklen_t>(interface.name.size()));
        }
    }
}

}  // namespace ZYNE::Linux
