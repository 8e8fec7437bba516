// The devices of the account that were seen since this one came up.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "linux/fabric/announcement.h"
#include "linux/fabric/control_writer.h"

namespace ZYNE::Linux {

// One state of a peer.
struct Peer {
    Announcement device;
    ScreenStatus screenStatus = SCREEN_UNKNOWN;
    dds_guid_t participant{};
    dds_instance_handle_t presenceWriter = 0;
    // Where it is sent to; null when the peer has gone.
    std::shared_ptr<const ControlWriter> channel;
    // Announced, and ready to take messages.
    bool online = false;
};
using PeerPtr = std::shared_ptr<const Peer>;

// Any thread; one thread changes it.
class PeerTable {
public:
    // A device of the account could announce any number of others: at this many, new ones are refused.
    static constexpr size_t MOST_PEERS = 1024;

    // Replaces what is known of the device. False when there are too many.
    bool Put(PeerPtr peer);

    // Null when there is none.
    PeerPtr FindByUdid(const std::string& udid) const;
    PeerPtr FindOnline(const std::string& networkId) const;
    PeerPtr FindOnline(const dds_guid_t& participant) const;

    std::vector<PeerPtr> All() const;

    // The udid of the device that has, or has had, the network id; empty when none had.
    std::string UdidOf(const std::string& networkId) const;

private:
    void Remember(const Announcement& device);  // under mutex_

    mutable std::mutex mutex_;
    std::unordered_map<std::string, PeerPtr> peers_;      // guarded by mutex_; by udid
    std::unordered_map<std::string, std::string> udids_;  // guarded by mutex_; by network id
    std::deque<std::string> networkIds_;                  // guarded by mutex_; those in udids_, the oldest first
};

}  // namespace ZYNE::Linux
