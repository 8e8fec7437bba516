// What the network half of a device is started with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "linux/network/discovery/peer_address.h"

namespace ZYNE::Linux {

// Where devices take connections (TCP), and where they tell each other of themselves (UDP).
inline constexpr uint16_t DEFAULT_PORT = 47020;
inline constexpr uint16_t DEFAULT_BEACON_PORT = 47021;

struct FabricOptions {
    enum class Trust {
        ACCOUNT,  // peers prove by certificate that they are of this account
        OPEN      // nothing is proved: whoever knows the account's name can be a peer
    };

    std::string deviceName;   // at most 64 bytes of UTF-8
    uint32_t deviceType = 0;  // one of CollaborationFwk::DeviceType

    Trust trust = Trust::ACCOUNT;
    std::filesystem::path credentials;  // ACCOUNT: the directory that EnrollDevice made; the udid is in it
    std::string accountName;            // OPEN: devices that name another are neither seen nor served
    std::string udid;                   // OPEN

    std::filesystem::path stateDirectory;  // what the network keeps over restarts is in it

    // The names of the network interfaces that are used, whether or not they exist yet; or "auto" alone, which stands
    // for all that lead elsewhere.
    std::vector<std::string> interfaces{"lo"};
    std::vector<PeerAddress> peers;  // looked for there, besides what the beacon finds
    uint16_t port = DEFAULT_PORT;    // 0: a free one
    bool mayUseOtherPort = true;     // a free one when `port` is taken
    bool hasBeacon = true;           // whether the devices of the local network are told, and heard
    uint16_t beaconPort = DEFAULT_BEACON_PORT;
};

}  // namespace ZYNE::Linux
