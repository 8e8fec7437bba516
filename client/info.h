// The peers of a device, and what they tell about themselves.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ZYNE::Client {

class DeviceConnection;

struct Peer {
    std::string name;
    std::string type;  // phone, tablet, pc, tv, or a number
    std::string id;    // shortened
    bool online;
    bool sameAccount;
};

struct PeerName {
    std::string name;
    std::string id;  // as Peer::id
};

struct InfoAnswer {
    int32_t code;  // 0, or why there are no records; see result_codes.h
    // Name and value of each item, in the order asked. A value is empty when nothing on the peer could tell it.
    std::vector<std::pair<std::string, std::string>> records;
};

// Part of a Device; see there for threads and errors. A peer is named by its name, its id as ListPeers gives it, or its
// network id.
class Info {
public:
    explicit Info(DeviceConnection& connection) : connection_(connection) {}

    // The peers that were seen since the device came up, in the order of names.
    std::vector<Peer> ListPeers();
    // Of a peer, or of the device itself.
    PeerName FindPeer(const std::string& peer);

    // Asks `peer` for the items `names`. Blocks until it answers, at most five seconds after the request was sent.
    InfoAnswer Get(const std::string& peer, const std::vector<std::string>& names);

private:
    DeviceConnection& connection_;
};

}  // namespace ZYNE::Client
