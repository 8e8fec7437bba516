#include "linux/profile/profile_subscriptions.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {
namespace {

bool IsSame(const SubscribeInfo& a, const SubscribeInfo& b) {
    return a.GetSubscribeKey() == b.GetSubscribeKey() && a.GetListener() == b.GetListener();
}

// Tells the listener of what the subscription asks for.
Subscription::Tell TellListener(const SubscribeInfo& info) {
    return [info](ProfileChange change, const CharacteristicProfile& before, const CharacteristicProfile& after) {
        IProfileChangeListener& listener = *info.GetListener();
        switch (change) {
        case ProfileChange::ADDED:
            if (info.Wants(after, ProfileChangeType::CHARACTERISTIC_ADD)) {
                listener.OnCharacteristicProfileAdd(after);
            }
            break;
        case ProfileChange::UPDATED:
            if (info.Wants(after, ProfileChangeType::CHARACTERISTIC_UPDATE)) {
                listener.OnCharacteristicProfileUpdate(before, after);
            }
            break;
        case ProfileChange::DELETED:
            if (info.Wants(before, ProfileChangeType::CHARACTERISTIC_DELETE)) {
                listener.OnCharacteristicProfileDelete(before);
            }
            break;
        }
    };
}

Subscription::Tell TellWatcher(ProfileSubscriptions::Watcher watcher) {
    return [watcher = std::move(watcher)](
               ProfileChange change, const CharacteristicProfile& /*before*/, const CharacteristicProfile& after) {
        watcher(change, after);
    };
}

}  // namespace

ProfileSubscriptions::Name ProfileSubscriptions::NameOf(const SubscribeInfo& info) {
    const SubscribeKey& key = info.GetSubscribeKey();
    return {key.deviceId, key.serviceName, key.characteristicKey};
}

ProfileSubscriptions::SubscriptionPtr ProfileSubscriptions::Subscribe(
    const SubscribeInfo& info, const RecordPtr& known) {
    SubscriptionPtr earlier = Unsubscribe(info);
    const auto subscription = std::make_shared<const Subscription>(Subscription{TellListener(info)});
    subscribed_[NameOf(info)].push_back({info, subscription});
    if (known) {
        changes_.Add(subscription, {nullptr, known});
    }
    return earlier;
}

ProfileSubscriptions::SubscriptionPtr ProfileSubscriptions::Unsubscribe(const SubscribeInfo& info) {
    const auto named = subscribed_.find(NameOf(info));
    if (named == subscribed_.end()) {
        return nullptr;
    }
    const auto found =
        std::ranges::find_if(named->second, [&](const Subscribed& one) { return IsSame(one.info, info); });
    if (found == named->second.end()) {
        return nullptr;
    }
    SubscriptionPtr ended = std::move(found->subscription);
    named->second.erase(found);
    if (named->second.empty()) {
        subscribed_.erase(named);
    }
    changes_.Drop(ended);
    return ended;
}

ProfileSubscriptions::SubscriptionPtr ProfileSubscriptions::Watch(Watcher watcher) {
    SubscriptionPtr next;
    if (watcher) {
        next = std::make_shared<const Subscription>(Subscription{TellWatcher(std::move(watcher))});
    }
    SubscriptionPtr earlier = std::exchange(watcher_, std::move(next));
    changes_.Drop(earlier);
    return earlier;
}

std::vector<ProfileSubscriptions::SubscriptionPtr> ProfileSubscriptions::EndAll() {
    std::vector<SubscriptionPtr> ended{Watch(nullptr)};
    for (const auto& [name, all] : subscribed_) {
        for (const Subscribed& one : all) {
            ended.push_back(one.subscription);
        }
    }
    subscribed_.clear();
    changes_.Clear();
    return ended;
}

bool ProfileSubscriptions::Add(const ProfileStep& step) {
    const RecordPtr& record = step.before ? step.before : step.after;
    if (!record || record->kind != ProfileKind::CHARACTERISTIC) {
        return false;
    }
    const CharacteristicProfile& profile = record->profile;
    const auto named =
        subscribed_.find({profile.GetDeviceId(), profile.GetServiceName(), profile.GetCharacteristicKey()});
    if (named != subscribed_.end()) {
        for (const Subscribed& one : named->second) {
            changes_.Add(one.subscription, step);
        }
    }
    if (watcher_) {
        changes_.Add(watcher_, step);
    }
    return watcher_ || named != subscribed_.end();
}

}  // namespace ZYNE::Linux
