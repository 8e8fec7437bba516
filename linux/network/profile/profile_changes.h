// What this device publishes, as a sequence: of each name the last change.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>

#include "linux/profile/profile_record.h"

namespace ZYNE::Linux {

// Large changes go their own way, so that they hold up no small ones.
enum ProfileLane : size_t { SMALL_CHANGES, LARGE_CHANGES, PROFILE_LANES };

struct OwnChange {
    uint64_t sequence = 0;  // 1 is the first of the run
    RecordPtr record;       // without its value when it is deleted
    bool isDeleted = false;
    size_t bytes = 0;  // of its message, at most
};

// One thread at a time.
class ProfileChanges {
public:
    // What was put or deleted now under the record's name takes the place of what was before.
    void Add(const RecordPtr& record, bool isDeleted);

    uint64_t Last() const { return last_; }  // 0 when there was none

    // The oldest of the lane that is not older than `sequence`; null when there is none. Valid until the next change.
    const OwnChange* FirstFrom(ProfileLane lane, uint64_t sequence) const;

    // Whether all deletions after `sequence` are still there.
    bool HasDeletionsSince(uint64_t sequence) const { return sequence >= dropped_; }
    size_t CountOfDeletions() const { return deletions_.size(); }
    uint64_t OldestDeletion() const { return *deletions_.begin(); }
    void DropOldestDeletion();

private:
    using Newest = std::map<ProfileName, OwnChange>;

    static ProfileLane LaneOf(const OwnChange& change);
    void Remove(Newest::iterator at);

    uint64_t last_ = 0;
    uint64_t dropped_ = 0;  // the newest deletion that is not there any more
    Newest newest_;
    std::array<std::map<uint64_t, Newest::iterator>, PROFILE_LANES> lanes_;
    std::set<uint64_t> deletions_;
};

}  // namespace ZYNE::Linux
