// Changes of characteristics on their way to those who want to be told.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "linux/profile/profile_table.h"

namespace ZYNE::Linux {

enum class ProfileChange : int32_t { ADDED, UPDATED, DELETED };

// Somebody who is told of changes.
struct Subscription {
    // Both are the same of a characteristic that is added or deleted.
    using Tell = std::function<void(
        ProfileChange change, const CharacteristicProfile& before, const CharacteristicProfile& after)>;

    Tell tell;
};

// One thread at a time.
//
// Of one characteristic, one subscription has at most one entry: the difference between what it was told last and what
// is true now. So a subscriber that is slow, or blocks, costs no more than there are characteristics; it may miss a
// value that has been replaced meanwhile, but never a deletion, and not the last value.
class ChangeQueue {
public:
    using SubscriptionPtr = std::shared_ptr<const Subscription>;

    // What one subscription is to be told of one characteristic.
    struct Change {
        SubscriptionPtr subscription;
        RecordPtr told;          // what it was told last; null when it knows nothing
        bool isDeleted = false;  // it is to be told that this was deleted
        RecordPtr now;           // what it is to be told then; null for nothing
    };

    // `step` follows on those added before of the same characteristic.
    void Add(const SubscriptionPtr& subscription, const ProfileStep& step);

    // What has waited longest. Nothing when nothing waits.
    std::optional<Change> Take();

    // Forgets what `subscription` was to be told.
    void Drop(const SubscriptionPtr& subscription);
    void Clear();

    // Tells it, in one call or two. An exception of the subscriber is logged.
    static void Tell(const Change& change);

private:
    using Key = std::tuple<const Subscription*, std::string, ProfileName>;  // the string is the udid
    using Waiting = std::list<std::pair<Key, Change>>;

    void Remove(Waiting::iterator at);

    Waiting waiting_;  // those that have waited longest in front
    std::map<Key, Waiting::iterator> byKey_;
};

}  // namespace ZYNE::Linux
