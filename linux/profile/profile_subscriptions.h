// Who is to be told of which characteristics.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "linux/profile/subscription.h"
#include "platform/device_profile/subscribe_info.h"

namespace ZYNE::Linux {

// One thread at a time. A subscription that has ended is handed to the caller: with it may end the listener, which is
// not for the inside of a lock.
class ProfileSubscriptions {
public:
    using SubscriptionPtr = std::shared_ptr<Subscription>;
    using Watcher = std::function<void(ProfileChange change, const CharacteristicProfile& profile)>;

    explicit ProfileSubscriptions(ThreadPool& pool) : pool_(pool) {}

    // The subscription that this one replaces: the same key and listener. `known` is the characteristic, if it is
    // known.
    SubscriptionPtr Subscribe(const SubscribeInfo& info, const RecordPtr& known);
    // Null when there is no such subscription.
    SubscriptionPtr Unsubscribe(const SubscribeInfo& info);
    // Has `watcher`, which may be null, told of all characteristics' changes. The one before.
    SubscriptionPtr Watch(Watcher watcher);
    std::vector<SubscriptionPtr> EndAll();

    // Has those told who want to be.
    void Add(const ProfileStep& step);

private:
    using Name = std::array<std::string, 3>;  // udid, service, key
    struct Subscribed {
        SubscribeInfo info;
        SubscriptionPtr subscription;
    };

    static Name NameOf(const SubscribeInfo& info);

    ThreadPool& pool_;
    std::map<Name, std::vector<Subscribed>> subscribed_;
    SubscriptionPtr watcher_;
};

}  // namespace ZYNE::Linux
