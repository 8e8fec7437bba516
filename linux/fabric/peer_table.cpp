#include "linux/fabric/peer_table.h"

#include <utility>

#include "linux/fabric/endpoint_owner.h"

namespace ZYNE::Linux {
namespace {

// Each start of a device takes one.
constexpr size_t MOST_NETWORK_IDS = 8 * PeerTable::MOST_PEERS;

}  // namespace

bool PeerTable::Put(PeerPtr peer) {
    const std::scoped_lock lock(mutex_);
    const auto known = peers_.find(peer->device.udid);
    if (known != peers_.end()) {
        std::swap(known->second, peer);
        Remember(known->second->device);
        return true;
    }
    if (peers_.size() >= MOST_PEERS) {
        return false;
    }
    Remember(peer->device);
    const std::string& udid = peer->device.udid;
    peers_.emplace(udid, std::move(peer));
    return true;
}

void PeerTable::Remember(const Announcement& device) {
    if (!udids_.emplace(device.networkId, device.udid).second) {
        return;
    }
    networkIds_.push_back(device.networkId);
    if (networkIds_.size() > MOST_NETWORK_IDS) {
        udids_.erase(networkIds_.front());
        networkIds_.pop_front();
    }
}

PeerPtr PeerTable::FindByUdid(const std::string& udid) const {
    const std::scoped_lock lock(mutex_);
    const auto known = peers_.find(udid);
    return known == peers_.end() ? nullptr : known->second;
}

PeerPtr PeerTable::FindOnline(const std::string& networkId) const {
    const PeerPtr peer = FindByUdid(UdidOf(networkId));
    return peer && peer->online && peer->device.networkId == networkId ? peer : nullptr;
}

PeerPtr PeerTable::FindOnline(const dds_guid_t& participant) const {
    const std::scoped_lock lock(mutex_);
    for (const auto& [udid, peer] : peers_) {
        if (peer->online && IsSame(peer->participant, participant)) {
            return peer;
        }
    }
    return nullptr;
}

std::vector<PeerPtr> PeerTable::All() const {
    const std::scoped_lock lock(mutex_);
    std::vector<PeerPtr> all;
    all.reserve(peers_.size());
    for (const auto& [udid, peer] : peers_) {
        all.push_back(peer);
    }
    return all;
}

std::string PeerTable::UdidOf(const std::string& networkId) const {
    const std::scoped_lock lock(mutex_);
    const auto known = udids_.find(networkId);
    return known == udids_.end() ? "" : known->second;
}

}  // namespace ZYNE::Linux
