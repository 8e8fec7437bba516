// Who is to be told of which characteristics.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/profile/change_queue.h"
#include "platform/device_profile/subscribe_info.h"

namespace ZYNE::Linux {

// One thread at a time. A subscription that has ended is handed to the caller: with it may end the listener, which is
// not for the inside of a lock.
class ProfileSubscriptions {
public:
    using SubscriptionPtr = ChangeQueue::SubscriptionPtr;
    using Watcher = std::function<void(ProfileChange change, const CharacteristicProfile& profile)>;

    // The subscription that this one replaces: the same key and listener. `known` is the characteristic, if it is
    // known.
    SubscriptionPtr Subscribe(const SubscribeInfo& info, const RecordPtr& known);
    // Null when there is no such subscription.
    SubscriptionPtr Unsubscribe(const SubscribeInfo& info);
    // Has `watcher`, which may be null, told of all characteristics' changes. The one before.
    SubscriptionPtr Watch(Watcher watcher);
    std::vector<SubscriptionPtr> EndAll();

    // Queues a change. Whether somebody is to be told.
    bool Add(const ProfileStep& step);
    // What is to be told next.
    std::optional<ChangeQueue::Change> TakeNext() { return changes_.Take(); }

private:
    using Name = std::array<std::string, 3>;  // udid, service, key
    struct Subscribed {
        SubscribeInfo info;
        SubscriptionPtr subscription;
    };

    static Name NameOf(const SubscribeInfo& info);

    std::map<Name, std::vector<Subscribed>> subscribed_;
    SubscriptionPtr watcher_;
    ChangeQueue changes_;
};

}  // namespace ZYNE::Linux
