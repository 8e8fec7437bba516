#include "linux/network/profile/profile_inbox.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {

void ProfileInbox::OnUp(const std::string& udid, ProfileSend send) {
    DropOld();
    Peer& peer = peers_[udid];
    if (peer.keptBytes > 0) {
        keptBytes_ -= std::exchange(peer.keptBytes, 0);
        away_.erase(peer.place);
    }
    Wire::ProfileMessage message;
    Wire::ProfileResume& resume = *message.mutable_resume();
    resume.set_run(peer.run);
    resume.set_have(peer.floor - 1);
    resume.set_snapshot_end(peer.snapshotEnd);
    for (const auto& [name, held] : peer.records) {
        if (held.sequence >= peer.floor) {
            resume.add_beyond(held.sequence);
        }
    }
    peer.link = Link{std::move(send), ++lastWriter_, ProfileShare(now_())};
    peer.link->send(message.SerializeAsString());
}

void ProfileInbox::OnDown(const std::string& udid) {
    Peer* const peer = FindThere(udid);
    if (peer == nullptr) {
        return;
    }
    inlet_.OnGone(udid, peer->link->writer);
    peer->link.reset();
    for (const auto& [name, held] : peer->records) {
        peer->keptBytes += BytesOf(*held.record) + RECORD_BYTES;
    }
    if (peer->keptBytes == 0) {
        peers_.erase(udid);
        return;
    }
    keptBytes_ += peer->keptBytes;
    peer->left = now_();
    peer->place = away_.insert(away_.end(), udid);
    DropOld();
}

void ProfileInbox::DropOld() {
    while (!away_.empty()) {
        const auto eldest = peers_.find(away_.front());
        if (eldest->second.left + KEPT_TIME > now_() && keptBytes_ <= KEPT_BYTES) {
            return;
        }
        keptBytes_ -= eldest->second.keptBytes;
        peers_.erase(eldest);
        away_.pop_front();
    }
}

ProfileInbox::Peer* ProfileInbox::FindThere(const std::string& udid) {
    const auto peer = peers_.find(udid);
    return peer != peers_.end() && peer->second.link ? &peer->second : nullptr;
}

bool ProfileInbox::OnStart(const std::string& udid, const Wire::ProfileStart& start) {
    Peer* const peer = FindThere(udid);
    if (peer == nullptr || std::exchange(peer->link->hasStarted, true) || start.run().empty() ||
        start.run().size() > MAX_RUN_BYTES) {
        return false;
    }
    if (start.is_snapshot()) {
        peer->run = start.run();
        peer->floor = 1;
        peer->snapshotEnd = start.snapshot_end();
        peer->records.clear();
        peer->deleted.clear();
        return true;
    }
    if (peer->run != start.run()) {
        return false;
    }
    for (const auto& [name, held] : peer->records) {
        inlet_.OnPut(held.record, peer->link->writer);
    }
    return true;
}

bool ProfileInbox::OnChange(const std::string& udid, const Wire::ProfileChange& change) {
    Peer* const peer = FindThere(udid);
    if (peer == nullptr || !peer->link->hasStarted) {
        return false;
    }
    if (!peer->link->share.Take(now_()) && onExcess_) {
        onExcess_(udid);
    }
    const Result result = Apply(udid, *peer, change);
    if (result == Result::NONSENSE) {
        return false;
    }
    Wire::ProfileMessage message;
    message.mutable_ack()->set_sequence(change.sequence());
    message.mutable_ack()->set_is_refused(result == Result::REFUSED);
    return peer->link->send(message.SerializeAsString());
}

ProfileInbox::Result ProfileInbox::Apply(const std::string& udid, Peer& peer, const Wire::ProfileChange& change) {
    const uint64_t sequence = change.sequence();
    const bool isOfKnownKind = change.kind() == static_cast<uint32_t>(ProfileKind::SERVICE) ||
        change.kind() == static_cast<uint32_t>(ProfileKind::CHARACTERISTIC);
    if (!isOfKnownKind || change.floor() == 0 || change.floor() > sequence || peer.floor > sequence) {
        return Result::NONSENSE;
    }
    if (change.floor() > peer.floor) {
        peer.floor = change.floor();
        std::erase_if(peer.deleted, [&](const auto& deleted) { return deleted.second < peer.floor; });
    }
    if (IsTooLong(udid, peer, change)) {
        return Result::REFUSED;
    }
    const ProfileName name(static_cast<ProfileKind>(change.kind()), change.service(), change.key());
    const auto known = peer.records.find(name);
    const auto deleted = peer.deleted.find(name);
    if ((known != peer.records.end() && known->second.sequence >= sequence) ||
        (deleted != peer.deleted.end() && deleted->second >= sequence)) {
        return Result::APPLIED;  // and replaced already
    }
    return change.is_deleted() ? Delete(udid, peer, change, name) : Put(udid, peer, change, name);
}

// Looked at before anything is copied.
bool ProfileInbox::IsTooLong(const std::string& udid, Peer& peer, const Wire::ProfileChange& change) {
    if (change.service().size() <= ProfileBounds::NAME_BYTES && change.key().size() <= ProfileBounds::NAME_BYTES &&
        change.value().size() <= ProfileBounds::VALUE_BYTES) {
        return false;
    }
    if (!std::exchange(peer.isTooLong, true)) {
        FabricPrint(LogLevel::WARN, "device %{public}s publishes what is too long: refused", Anonymous(udid));
    }
    return true;
}

ProfileInbox::Result ProfileInbox::Delete(
    const std::string& udid, Peer& peer, const Wire::ProfileChange& change, const ProfileName& name) {
    if (change.is_overtaking()) {
        if (peer.deleted.size() >= MAX_OVERTAKING) {
            return Result::NONSENSE;
        }
        peer.deleted[name] = change.sequence();
    }
    peer.records.erase(name);
    inlet_.OnDelete(udid, name);
    return Result::APPLIED;
}

ProfileInbox::Result ProfileInbox::Put(
    const std::string& udid, Peer& peer, const Wire::ProfileChange& change, const ProfileName& name) {
    const auto record = std::make_shared<ProfileRecord>();
    record->kind = name.kind;
    record->profile.SetDeviceId(udid);
    record->profile.SetServiceName(change.service());
    record->profile.SetCharacteristicKey(change.key());
    record->profile.SetUserId(change.user());
    record->profile.SetCharacteristicValue(change.value());
    if (!inlet_.OnPut(record, peer.link->writer)) {
        return Result::REFUSED;
    }
    peer.records.insert_or_assign(name, Held{record, change.sequence()});
    peer.deleted.erase(name);
    return Result::APPLIED;
}

}  // namespace ZYNE::Linux
