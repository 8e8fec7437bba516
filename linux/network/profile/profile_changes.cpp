#include "linux/network/profile/profile_changes.h"

#include <memory>

#include "linux/network/link/secure_channel.h"

namespace ZYNE::Linux {
namespace {

// A message has no more than this beside names and value.
constexpr size_t MESSAGE_BYTES = 64;

RecordPtr WithoutValue(const ProfileRecord& record) {
    auto copy = std::make_shared<ProfileRecord>();
    copy->kind = record.kind;
    copy->profile.SetDeviceId(record.profile.GetDeviceId());
    copy->profile.SetServiceName(record.profile.GetServiceName());
    copy->profile.SetCharacteristicKey(record.profile.GetCharacteristicKey());
    copy->profile.SetUserId(record.profile.GetUserId());
    return copy;
}

}  // namespace

ProfileLane ProfileChanges::LaneOf(const OwnChange& change) {
    return change.bytes > SecureChannel::LARGE_BYTES ? LARGE_CHANGES : SMALL_CHANGES;
}

void ProfileChanges::Add(const RecordPtr& record, bool isDeleted) {
    OwnChange change{++last_, isDeleted ? WithoutValue(*record) : record, isDeleted, MESSAGE_BYTES};
    change.bytes += BytesOf(*change.record);
    ProfileName name(*record);
    if (const auto known = newest_.find(name); known != newest_.end()) {
        Remove(known);
    }
    const auto at = newest_.emplace(std::move(name), std::move(change)).first;
    lanes_.at(LaneOf(at->second)).emplace(last_, at);
    if (isDeleted) {
        deletions_.insert(last_);
    }
}

void ProfileChanges::Remove(Newest::iterator at) {
    lanes_.at(LaneOf(at->second)).erase(at->second.sequence);
    deletions_.erase(at->second.sequence);
    newest_.erase(at);
}

const OwnChange* ProfileChanges::FirstFrom(ProfileLane lane, uint64_t sequence) const {
    const auto& changes = lanes_.at(lane);
    const auto found = changes.lower_bound(sequence);
    return found == changes.end() ? nullptr : &found->second->second;
}

void ProfileChanges::DropOldestDeletion() {
    dropped_ = OldestDeletion();
    Remove(lanes_.at(SMALL_CHANGES).at(dropped_));
}

}  // namespace ZYNE::Linux
