#include "linux/network/profile/profile_feed.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {

bool ProfileFeed::Begin(const Wire::ProfileResume& resume, const std::string& run) {
    if (std::exchange(hasBegun_, true) || static_cast<size_t>(resume.beyond_size()) > ProfileBounds::RECORDS) {
        return false;
    }
    const bool isThisRun = resume.run() == run;
    if (isThisRun && std::max(resume.have(), resume.snapshot_end()) > changes_.Last()) {
        return false;
    }
    const bool goesOn = isThisRun && changes_.HasDeletionsSince(std::max(resume.have(), resume.snapshot_end()));
    snapshotEnd_ = goesOn ? resume.snapshot_end() : changes_.Last();
    if (goesOn) {
        beyond_.assign(resume.beyond().begin(), resume.beyond().end());
        std::ranges::sort(beyond_);
        for (Lane& lane : lanes_) {
            lane.next = resume.have() + 1;
        }
    }
    Wire::ProfileMessage message;
    message.mutable_start()->set_run(run);
    message.mutable_start()->set_is_snapshot(!goesOn);
    message.mutable_start()->set_snapshot_end(snapshotEnd_);
    isGoing_ = send_(message.SerializeAsString());
    SendMore();
    return isGoing_;
}

bool ProfileFeed::OnAck(const Wire::ProfileAck& ack) {
    for (Lane& lane : lanes_) {
        const auto found = lane.onTheirWay.find(ack.sequence());
        if (found == lane.onTheirWay.end()) {
            continue;
        }
        lane.bytes -= found->second.bytes;
        lane.onTheirWay.erase(found);
        if (ack.is_refused()) {
            lane.refused.insert(ack.sequence());
        } else {
            hasTaken_ = true;
        }
        SendMore();
        return true;
    }
    return false;
}

void ProfileFeed::SendMore() {
    if (!isGoing_) {
        return;
    }
    do {
        SendFrom(SMALL_CHANGES);
        SendFrom(LARGE_CHANGES);
    } while (TryRefusedAgain());
}

void ProfileFeed::SendFrom(ProfileLane which) {
    Lane& lane = lanes_.at(which);
    for (const OwnChange* change = Next(which); change != nullptr; change = Next(which)) {
        const bool hasRoom = lane.onTheirWay.size() < lane.mostChanges && lane.bytes + change->bytes <= lane.mostBytes;
        if ((!hasRoom && !lane.onTheirWay.empty()) || !SendOne(lane, *change)) {
            return;
        }
    }
}

// Null when everything has been sent. Passes over what the peer has, or need not know.
const OwnChange* ProfileFeed::Next(ProfileLane which) {
    Lane& lane = lanes_.at(which);
    while (!lane.again.empty()) {
        const OwnChange* change = changes_.FirstFrom(which, *lane.again.begin());
        if (change != nullptr && change->sequence == *lane.again.begin()) {
            return change;
        }
        lane.again.erase(lane.again.begin());
    }
    const OwnChange* change = changes_.FirstFrom(which, lane.next);
    while (change != nullptr && IsKnown(*change)) {
        lane.next = change->sequence + 1;
        change = changes_.FirstFrom(which, lane.next);
    }
    return change;
}

bool ProfileFeed::IsKnown(const OwnChange& change) const {
    return (change.isDeleted && change.sequence <= snapshotEnd_) ||
        std::ranges::binary_search(beyond_, change.sequence);
}

bool ProfileFeed::SendOne(Lane& lane, const OwnChange& change) {
    const CharacteristicProfile& profile = change.record->profile;
    Wire::ProfileMessage message;
    Wire::ProfileChange& sent = *message.mutable_change();
    sent.set_sequence(change.sequence);
    sent.set_floor(Floor());
    sent.set_kind(static_cast<uint32_t>(change.record->kind));
    sent.set_service(profile.GetServiceName());
    sent.set_key(profile.GetCharacteristicKey());
    sent.set_user(profile.GetUserId());
    sent.set_is_deleted(change.isDeleted);
    sent.set_value(profile.GetCharacteristicValue());
    sent.set_is_overtaking(change.isDeleted && IsOvertaking(change));
    if (!send_(message.SerializeAsString())) {
        return false;
    }
    if (lane.again.erase(change.sequence) == 0) {
        lane.next = change.sequence + 1;
    }
    lane.onTheirWay.emplace(change.sequence, OnItsWay{change.bytes, ProfileName(*change.record)});
    lane.bytes += change.bytes;
    return true;
}

bool ProfileFeed::IsOvertaking(const OwnChange& change) const {
    const ProfileName name(*change.record);
    return std::ranges::any_of(lanes_.at(LARGE_CHANGES).onTheirWay,
        [&](const auto& large) { return !(large.second.name < name) && !(name < large.second.name); });
}

// The peer has every change before this one, or need not know it.
uint64_t ProfileFeed::Floor() const {
    uint64_t floor = changes_.Last() + 1;
    for (const ProfileLane which : {SMALL_CHANGES, LARGE_CHANGES}) {
        const Lane& lane = lanes_.at(which);
        if (!lane.onTheirWay.empty()) {
            floor = std::min(floor, lane.onTheirWay.begin()->first);
        }
        for (const std::set<uint64_t>* open : {&lane.refused, &lane.again}) {
            if (!open->empty()) {
                floor = std::min(floor, *open->begin());
            }
        }
        if (const OwnChange* next = changes_.FirstFrom(which, lane.next)) {
            floor = std::min(floor, next->sequence);
        }
    }
    return floor;
}

// What does not fit may have come before what makes room for it. So when the peer has all the rest, it fits.
bool ProfileFeed::TryRefusedAgain() {
    if (!hasTaken_ || !IsDone()) {
        return false;
    }
    hasTaken_ = false;
    bool isAny = false;
    for (Lane& lane : lanes_) {
        isAny = isAny || !lane.refused.empty();
        lane.again = std::exchange(lane.refused, {});
    }
    return isAny;
}

bool ProfileFeed::Needs(uint64_t deletion) const {
    return isGoing_ && lanes_.at(SMALL_CHANGES).next <= deletion && deletion > snapshotEnd_;
}

bool ProfileFeed::IsDone() const {
    const auto isDone = [this](ProfileLane which) {
        const Lane& lane = lanes_.at(which);
        return lane.onTheirWay.empty() && lane.again.empty() && changes_.FirstFrom(which, lane.next) == nullptr;
    };
    const bool getsNothing = hasBegun_ && !isGoing_;
    return getsNothing || (isDone(SMALL_CHANGES) && isDone(LARGE_CHANGES));
}

}  // namespace ZYNE::Linux
