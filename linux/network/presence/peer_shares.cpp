#include "linux/network/presence/peer_shares.h"

#include <algorithm>

#include "linux/network/link/network_log.h"

namespace ZYNE::Linux {

void PeerShares::Measure::Add(Clock::time_point now, double perSecond, double most) {
    const double seconds = std::chrono::duration<double>(now - at).count();
    level = std::min(std::max(level - seconds * perSecond, 0.0) + 1, most);
    at = now;
}

PeerShares::Share& PeerShares::Of(const std::string& udid) {
    if (shares_.size() >= MAX_PEERS && !shares_.contains(udid)) {
        shares_.erase(std::ranges::min_element(shares_, {}, [](const auto& named) { return named.second.used; }));
    }
    Share& share = shares_[udid];
    if (!share.log) {
        share.log = std::make_shared<LogShare>(Anonymous(udid));
    }
    share.used = now_();
    return share;
}

std::shared_ptr<LogShare> PeerShares::LogOf(const std::string& udid) {
    const MutexLock lock(mutex_);
    return Of(udid).log;
}

bool PeerShares::OnExcess(const std::string& udid) {
    const MutexLock lock(mutex_);
    Share& share = Of(udid);
    const auto now = share.used;
    share.excess.Add(now, FORGIVEN, 2 * TOLERATED);
    if (share.excess.level < TOLERATED) {
        share.overSince = {};
        return false;
    }
    if (share.overSince == Clock::time_point{}) {
        share.overSince = now;
    }
    if (now - share.overSince < PATIENCE || now < share.aloneUntil) {
        return false;
    }
    share.overSince = {};
    share.aloneUntil = now + ALONE;
    return true;
}

bool PeerShares::OnNewLink(const std::string& udid) {
    const MutexLock lock(mutex_);
    Share& share = Of(udid);
    share.links.Add(share.used, FORGIVEN_LINKS, TOLERATED_LINKS);
    if (share.links.level < TOLERATED_LINKS || share.used < share.aloneUntil) {
        return false;
    }
    share.links.level = 0;
    share.aloneUntil = share.used + ALONE;
    return true;
}

bool PeerShares::IsLeftAlone(const std::string& udid) {
    const MutexLock lock(mutex_);
    const auto share = shares_.find(udid);
    return share != shares_.end() && now_() < share->second.aloneUntil;
}

}  // namespace ZYNE::Linux
