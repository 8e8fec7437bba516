// Changes of characteristics on their way to somebody who wants to be told.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "linux/profile/profile_table.h"

namespace ZYNE::Linux {

enum class ProfileChange : int32_t { ADDED, UPDATED, DELETED };

// One thread at a time.
//
// Of one characteristic there is at most one entry: the difference between what was told last and what is true now. So
// a subscriber that is slow, or blocks, costs no more than there are characteristics; it may miss a value that has been
// replaced meanwhile, but never a deletion, and not the last value.
class ChangeQueue {
public:
    // Both profiles are the same of a characteristic that is added or deleted.
    using Teller = std::function<void(
        ProfileChange change, const CharacteristicProfile& before, const CharacteristicProfile& after)>;

    // What is to be told of one characteristic.
    struct Change {
        RecordPtr told;          // what was told last; null when nothing was
        bool isDeleted = false;  // it is to be told that this was deleted
        RecordPtr now;           // what is to be told then; null for nothing
    };

    // `step` follows on those added before of the same characteristic.
    void Add(const ProfileStep& step);

    // What has waited longest. Nothing when nothing waits.
    std::optional<Change> Take();

    // Tells it, in one call or two. An exception of `tell` is logged.
    static void Tell(const Change& change, const Teller& tell);

private:
    using Key = std::pair<std::string, ProfileName>;  // the string is the udid
    using Waiting = std::list<std::pair<Key, Change>>;

    void Remove(Waiting::iterator at);

    Waiting waiting_;  // those that have waited longest in front
    std::map<Key, Waiting::iterator> byKey_;
};

}  // namespace ZYNE::Linux
