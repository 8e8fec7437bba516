// The datagrams of the beacon on one network interface, by one family of addresses.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"
#include "linux/network/discovery/network_interface.h"

namespace ZYNE::Linux {

// The loop's thread only. Shares its port with the beacons of other devices on the machine: each hears every datagram.
class BeaconSocket {
public:
    // No datagram is longer.
    static constexpr size_t MAX_BYTES = 128;

    // A longer datagram is given cut off. Called from the loop; it must not end the socket. False: no more for now.
    using Handler = std::function<bool(std::string_view datagram, const Endpoint& from)>;

    // `family` is AF_INET or AF_INET6, of which the interface has an address; on loopback AF_INET alone, for there IPv6
    // has neither multicast nor broadcast. Where the port or the group cannot be used
    // Problem says so, and the rest works. Throws std::system_error when nothing works.
    BeaconSocket(EventLoop& loop, const NetworkInterface& interface, int family, uint16_t port, Handler handler);
    BeaconSocket(const BeaconSocket&) = delete;
    BeaconSocket& operator=(const BeaconSocket&) = delete;

    // One line; empty when all is well.
    const std::string& Problem() const { return problem_; }

    // To everyone on the network. What fails is left.
    void Send(std::string_view datagram);

    // Takes what has come, after the handler wanted no more.
    void Resume() const;

private:
    void Bind(int family, uint16_t port);
    void Join(const NetworkInterface& interface, int family);
    void AddTargets(const NetworkInterface& interface, int family, uint16_t port);
    void Note(const std::string& what, int error);
    void Take();

    const std::string interface_;
    const Handler handler_;
    UniqueFd socket_;
    std::vector<Endpoint> targets_;
    std::string problem_;
    bool isSendingBroken_ = false;
    EventLoop::Source arrival_;
};

}  // namespace ZYNE::Linux
