#include "linux/profile/profile_subscriptions.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {
namespace {

bool IsSame(const SubscribeInfo& a, const SubscribeInfo& b) {
    return a.GetSubscribeKey() == b.GetSubscribeKey() && a.GetListener() == b.GetListener();
}

// Tells the listener of what the subscription asks for.
ChangeQueue::Teller TellListener(const SubscribeInfo& info) {
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

ChangeQueue::Teller TellWatcher(ProfileSubscriptions::Watcher watcher) {
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
    const auto subscription = std::make_shared<Subscription>(pool_, TellListener(info));
    subscribed_[NameOf(info)].push_back({info, subscription});
    if (known) {
        subscription->Add({nullptr, known});
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
    ended->End();
    return ended;
}

ProfileSubscriptions::SubscriptionPtr ProfileSubscriptions::Watch(Watcher watcher) {
    SubscriptionPtr next;
    if (watcher) {
        next = std::make_shared<Subscription>(pool_, TellWatcher(std::move(watcher)));
    }
    SubscriptionPtr earlier = std::exchange(watcher_, std::move(next));
    if (earlier) {
        earlier->End();
    }
    return earlier;
}

std::vector<ProfileSubscriptions::SubscriptionPtr> ProfileSubscriptions::EndAll() {
    std::vector<SubscriptionPtr> ended;
    if (SubscriptionPtr watcher = Watch(nullptr)) {
        ended.push_back(std::move(watcher));
    }
    for (const auto& [name, all] : subscribed_) {
        for (const Subscribed& one : all) {
            ended.push_back(one.subscription);
        }
    }
    subscribed_.clear();
    return ended;
}

void ProfileSubscriptions::Add(const ProfileStep& step) {
    const RecordPtr& record = step.before ? step.before : step.after;
    if (!record || record->kind != ProfileKind::CHARACTERISTIC) {
        return;
    }
    const CharacteristicProfile& profile = record->profile;
    const auto named =
        subscribed_.find({profile.GetDeviceId(), profile.GetServiceName(), profile.GetCharacteristicKey()});
    if (named != subscribed_.end()) {
        for (const Subscribed& one : named->second) {
            one.subscription->Add(step);
        }
    }
    if (watcher_) {
        watcher_->Add(step);
    }
}

}  // namespace ZYNE::Linux
