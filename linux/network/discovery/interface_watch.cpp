#include "linux/network/discovery/interface_watch.h"

#include <cerrno>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

#include "linux/network/link/network_log.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

// A change comes as several notices.
constexpr auto SETTLING_TIME = 50ms;
constexpr auto RETRY_TIME = 1s;

UniqueFd ListenToKernel() {
    UniqueFd socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl groups{};
    groups.nl_family = AF_NETLINK;
    groups.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (!socket || bind(socket.Get(), reinterpret_cast<const sockaddr*>(&groups), sizeof(groups)) != 0) {
        throw std::runtime_error("the network's changes cannot be followed: " + std::generic_category().message(errno));
    }
    return socket;
}

}  // namespace

InterfaceWatch::InterfaceWatch(EventLoop& loop, std::vector<std::string> names, Handler handler)
    : loop_(loop), names_(std::move(names)), handler_(std::move(handler)), notices_(ListenToKernel()),
      arrival_(loop.Watch(notices_.Get(), POLLIN, [this](uint32_t) { TakeNotices(); })) {
    LookSoon(0ms);
}

// What a notice says is left aside: what there is now is read instead, which also serves when notices were lost
// (ENOBUFS).
void InterfaceWatch::TakeNotices() {
    char unused = 0;
    while (recv(notices_.Get(), &unused, sizeof(unused), 0) >= 0 || errno == EINTR) {
    }
    LookSoon(SETTLING_TIME);
}

void InterfaceWatch::LookSoon(std::chrono::milliseconds wait) {
    if (!look_) {
        look_ = loop_.After(wait, [this] {
            look_ = {};
            Look();
        });
    }
}

void InterfaceWatch::Look() {
    std::vector<NetworkInterface> interfaces;
    try {
        interfaces = ReadNetworkInterfaces(names_);
    } catch (const std::exception& error) {
        NetworkPrint(LogLevel::WARN, "%{public}s; trying again", error.what());
        LookSoon(RETRY_TIME);
        return;
    }
    if (told_ != interfaces) {
        told_ = std::move(interfaces);
        handler_(*told_);
    }
}

}  // namespace ZYNE::Linux
