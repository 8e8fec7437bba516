// The devices of the account that were seen since this one came up.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/network/link/link.h"
#include "linux/network/presence/announcement.h"

namespace ZYNE::Linux {

// One state of a peer.
struct Peer {
    Announcement device;
    ScreenStatus screenStatus = SCREEN_UNKNOWN;
    LinkPtr link;  // null while the peer is away

    bool IsOnline() const { return link != nullptr; }
};
using PeerPtr = std::shared_ptr<const Peer>;

// Any thread; one thread changes it.
class PeerTable {
public:
    // At this many, new devices are refused.
    static constexpr size_t MAX_PEERS = 1024;
    // The network ids of so many of its last runs are known of each device, the present one among them.
    static constexpr size_t MAX_RUNS = 8;

    // Whether there is room for the device, or it is known.
    bool MayPut(const std::string& udid) const;
    // Replaces what is known of the device.
    void Put(PeerPtr peer);

    // Null when there is none.
    PeerPtr FindByUdid(const std::string& udid) const;
    PeerPtr FindOnline(const std::string& networkId) const;

    std::vector<PeerPtr> All() const;

    // The udid of the device that has, or has had, the network id; empty when none had.
    std::string UdidOf(const std::string& networkId) const;

private:
    struct Known {
        PeerPtr peer;
        std::deque<std::string> networkIds;  // the latest in front
    };

    mutable Mutex mutex_;
    std::unordered_map<std::string, Known> peers_ GUARDED_BY(mutex_);        // by udid
    std::unordered_map<std::string, std::string> udids_ GUARDED_BY(mutex_);  // by network id, those in peers_
};

}  // namespace ZYNE::Linux
