// The distributed device profile: what this device and its peers have published, and who has subscribed to it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "platform/host/device_profile_client.h"
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// One thread.
class FakeDeviceProfileClient final : public CollaborationFwk::DeviceProfileClient, public FakeCalls {
public:
    // A device's udid, or "LOCAL" as it was written, then service name and characteristic key.
    using Name = std::tuple<std::string, std::string, std::string>;

    explicit FakeDeviceProfileClient(Journal& journal) : FakeCalls(journal) {}

    // "SubscribeDeviceProfile(ability, udid, service, key, value name, user, types)"; the second alike.
    int32_t SubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) override {
        const int32_t code = Call("SubscribeDeviceProfile", Describe(subscribeInfo));
        if (code == 0) {
            subscriptions.push_back(subscribeInfo);
            if (const CharacteristicProfile* known = FindToAnswer(subscribeInfo)) {
                subscribeInfo.GetListener()->OnCharacteristicProfileAdd(*known);
            }
        }
        return code;
    }
    int32_t UnSubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) override {
        const int32_t code = Call("UnSubscribeDeviceProfile", Describe(subscribeInfo));
        const auto found = std::find_if(subscriptions.begin(), subscriptions.end(), [&](const SubscribeInfo& other) {
            return other.GetSubscribeKey() == subscribeInfo.GetSubscribeKey() &&
                other.GetListener() == subscribeInfo.GetListener();
        });
        if (code != 0 || found == subscriptions.end()) {
            return code != 0 ? code : 1;
        }
        subscriptions.erase(found);
        if (const CharacteristicProfile* known = FindToAnswer(subscribeInfo)) {
            subscribeInfo.GetListener()->OnCharacteristicProfileDelete(*known);
        }
        return 0;
    }
    // "PutServiceProfile(device, service, type)".
    int32_t PutServiceProfile(const ServiceProfile& profile) override {
        return Call("PutServiceProfile",
            profile.GetDeviceId() + ", " + profile.GetServiceName() + ", " + profile.GetServiceType());
    }
    // "PutCharacteristicProfile(device, service, key, value)".
    int32_t PutCharacteristicProfile(const CharacteristicProfile& profile) override {
        const auto& [udid, service, key] = NameOf(profile);
        const int32_t code = Call(
            "PutCharacteristicProfile", udid + ", " + service + ", " + key + ", " + profile.GetCharacteristicValue());
        if (code == 0) {
            characteristics.insert_or_assign(NameOf(profile), profile);
        }
        return code;
    }
    // "GetCharacteristicProfile(device, service, key)"; 1 when there is none.
    int32_t GetCharacteristicProfile(const std::string& deviceId, const std::string& serviceName,
        const std::string& characteristicKey, CharacteristicProfile& profile) override {
        const int32_t code = Call("GetCharacteristicProfile", deviceId + ", " + serviceName + ", " + characteristicKey);
        const auto found = characteristics.find({deviceId, serviceName, characteristicKey});
        if (code != 0 || found == characteristics.end()) {
            return code != 0 ? code : 1;
        }
        profile = found->second;
        return 0;
    }

    // A peer publishes or deletes a characteristic: whoever has subscribed to it is told. The listener's last result.
    int32_t Publish(const CharacteristicProfile& profile) {
        const auto [entry, isNew] = characteristics.try_emplace(NameOf(profile));
        const CharacteristicProfile old = std::exchange(entry->second, profile);
        if (isNew) {
            return Tell(profile, ProfileChangeType::CHARACTERISTIC_ADD,
                [&](IProfileChangeListener& listener) { return listener.OnCharacteristicProfileAdd(profile); });
        }
        return Tell(profile, ProfileChangeType::CHARACTERISTIC_UPDATE,
            [&](IProfileChangeListener& listener) { return listener.OnCharacteristicProfileUpdate(old, profile); });
    }
    int32_t Delete(const CharacteristicProfile& profile) {
        characteristics.erase(NameOf(profile));
        return Tell(profile, ProfileChangeType::CHARACTERISTIC_DELETE,
            [&](IProfileChangeListener& listener) { return listener.OnCharacteristicProfileDelete(profile); });
    }

    std::map<Name, CharacteristicProfile> characteristics;
    std::vector<SubscribeInfo> subscriptions;  // in the order in which they were made
    // A port that is not allowed, but shows which locks are held: a listener is told inside SubscribeDeviceProfile that
    // what is known is added, and inside UnSubscribeDeviceProfile that it is deleted.
    bool answersInline = false;

private:
    static std::string Describe(const SubscribeInfo& info) {
        const SubscribeKey& key = info.GetSubscribeKey();
        std::string text = std::to_string(info.GetSaId()) + ", " + key.deviceId + ", " + key.serviceName + ", " +
            key.characteristicKey + ", " + key.characteristicValueName + ", " + std::to_string(key.userId) + ",";
        for (const ProfileChangeType type : info.GetProfileChangeTypes()) {
            text += " " + std::to_string(static_cast<int32_t>(type));
        }
        return text;
    }
    static Name NameOf(const CharacteristicProfile& profile) {
        return {profile.GetDeviceId(), profile.GetServiceName(), profile.GetCharacteristicKey()};
    }
    // What a port that answers inline tells of the characteristic that is subscribed to; else null.
    const CharacteristicProfile* FindToAnswer(const SubscribeInfo& info) const {
        const SubscribeKey& key = info.GetSubscribeKey();
        const auto found = characteristics.find({key.deviceId, key.serviceName, key.characteristicKey});
        return answersInline && found != characteristics.end() ? &found->second : nullptr;
    }
    // The last result of those who want such a change.
    int32_t Tell(const CharacteristicProfile& profile, ProfileChangeType type,
        const std::function<int32_t(IProfileChangeListener& listener)>& report) const {
        int32_t result = 0;
        for (const SubscribeInfo& info : std::vector(subscriptions)) {
            if (info.Wants(profile, type)) {
                result = report(*info.GetListener());
            }
        }
        return result;
    }
};

}  // namespace ZYNE::Testing
