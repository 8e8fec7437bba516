// Tells the devices of the account on the local network where to connect, and hears where they are.
//
// One datagram by multicast and broadcast, IPv4 and IPv6, sealed with the meeting key: to strangers it is noise of one
// length. What is heard is not trusted: it says where a connection may be tried, and a replay says no more.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "linux/base/event_loop.h"
#include "linux/network/discovery/beacon_socket.h"
#include "linux/network/discovery/network_interface.h"
#include "linux/network/link/meeting_key.h"

namespace ZYNE::Linux {

// The loop's thread only.
class Beacon {
public:
    struct Heard {
        std::string networkId;  // of the run of the device that sent it; not proved
        Endpoint where;         // its address, with the port that it takes connections on
        int interface;          // the index of the interface on which it was heard
    };
    // Called from the loop; it may call Announce, but neither Follow nor the destructor.
    using Handler = std::function<void(const Heard& heard)>;

    struct Options {
        uint16_t beaconPort;    // UDP
        std::string networkId;  // this device's; what it hears of itself is dropped
    };

    // How many datagrams it takes, of whatever kind, in one second and at once. While there are more the sockets are
    // not read, and the kernel drops what they cannot hold.
    static constexpr int MAX_PER_SECOND = 1000;

    // A copy of `key` is kept. The same network id at the same place is told once a second at most. Datagrams that are
    // not of this account are dropped without a line in the log. Throws std::runtime_error when the network id is none.
    Beacon(EventLoop& loop, const MeetingKey& key, Options options, Handler handler);
    Beacon(const Beacon&) = delete;
    Beacon& operator=(const Beacon&) = delete;

    // Sends and hears on these interfaces from now on, and announces when one of them is new or has changed, or the
    // port has. `listeningPort` is the TCP port that is told; with 0 it only hears.
    void Follow(const std::vector<NetworkInterface>& interfaces, uint16_t listeningPort);

    // Sends now, twice within 150 ms, for a datagram may be lost: after a start, a wake-up, a lost peer. Calls in quick
    // succession are one. Besides, it sends every 30 s by itself.
    void Announce();

private:
    using Clock = EventLoop::Clock;
    struct Place {
        NetworkInterface interface;
        std::vector<std::unique_ptr<BeaconSocket>> sockets;
    };

    Place Open(const NetworkInterface& interface);
    void Send();
    bool Take(std::string_view datagram, const Endpoint& from, int interface);
    bool TakeToken();
    bool IsNews(const Heard& heard);
    void Resume();

    EventLoop& loop_;
    const MeetingKey key_;
    const Options options_;
    const Handler handler_;
    uint16_t listeningPort_ = 0;
    std::vector<Place> places_;
    std::set<std::string> warnings_;  // those logged
    std::set<std::string> told_;      // network ids with addresses, since second_
    Clock::time_point second_;
    double tokens_ = MAX_PER_SECOND;
    Clock::time_point lastToken_;
    EventLoop::Source again_;   // set while an announcement is to be sent again
    EventLoop::Source resume_;  // set while sockets may wait for tokens
    EventLoop::Source sparse_;
};

}  // namespace ZYNE::Linux
