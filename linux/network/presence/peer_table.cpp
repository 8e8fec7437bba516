#include "linux/network/presence/peer_table.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {

bool PeerTable::MayPut(const std::string& udid) const {
    const MutexLock lock(mutex_);
    return peers_.size() < MAX_PEERS || peers_.contains(udid);
}

void PeerTable::Put(PeerPtr peer) {
    const Announcement& device = peer->device;
    const MutexLock lock(mutex_);
    Known& known = peers_[device.udid];
    if (known.networkIds.empty() || known.networkIds.front() != device.networkId) {
        std::erase(known.networkIds, device.networkId);
        known.networkIds.push_front(device.networkId);
        udids_[device.networkId] = device.udid;
    }
    if (known.networkIds.size() > MAX_RUNS) {
        udids_.erase(known.networkIds.back());
        known.networkIds.pop_back();
    }
    std::swap(known.peer, peer);
}

PeerPtr PeerTable::FindByUdid(const std::string& udid) const {
    const MutexLock lock(mutex_);
    const auto known = peers_.find(udid);
    return known == peers_.end() ? nullptr : known->second.peer;
}

PeerPtr PeerTable::FindOnline(const std::string& networkId) const {
    const PeerPtr peer = FindByUdid(UdidOf(networkId));
    return peer && peer->IsOnline() && peer->device.networkId == networkId ? peer : nullptr;
}

std::vector<PeerPtr> PeerTable::All() const {
    const MutexLock lock(mutex_);
    std::vector<PeerPtr> all;
    all.reserve(peers_.size());
    for (const auto& [udid, known] : peers_) {
        all.push_back(known.peer);
    }
    return all;
}

std::string PeerTable::UdidOf(const std::string& networkId) const {
    const MutexLock lock(mutex_);
    const auto known = udids_.find(networkId);
    return known == udids_.end() ? "" : known->second;
}

}  // namespace ZYNE::Linux
