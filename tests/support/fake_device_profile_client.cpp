#include "tests/support/fake_device_profile_client.h"

#include <algorithm>

namespace ZYNE::Testing {
namespace {

std::string Describe(const SubscribeInfo& info) {
    const SubscribeKey& key = info.GetSubscribeKey();
    std::string text = std::to_string(info.GetSaId()) + ", " + key.deviceId + ", " + key.serviceName + ", " +
        key.characteristicKey + ", " + key.characteristicValueName + ", " + std::to_string(key.userId) + ",";
    for (const ProfileChangeType type : info.GetProfileChangeTypes()) {
        text += " " + std::to_string(static_cast<int32_t>(type));
    }
    return text;
}

FakeDeviceProfileClient::Name NameOf(const CharacteristicProfile& profile) {
    return {profile.GetDeviceId(), profile.GetServiceName(), profile.GetCharacteristicKey()};
}

}  // namespace

int32_t FakeDeviceProfileClient::SubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) {
    const int32_t code = Call("SubscribeDeviceProfile", Describe(subscribeInfo));
    if (code == 0) {
        subscriptions.push_back(subscribeInfo);
        const CharacteristicProfile* known = answersInline ? Find(subscribeInfo) : nullptr;
        if (known != nullptr) {
            subscribeInfo.GetListener()->OnCharacteristicProfileAdd(*known);
        }
    }
    return code;
}

int32_t FakeDeviceProfileClient::UnSubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) {
    const int32_t code = Call("UnSubscribeDeviceProfile", Describe(subscribeInfo));
    const auto found = std::find_if(subscriptions.begin(), subscriptions.end(), [&](const SubscribeInfo& other) {
        return other.GetSubscribeKey() == subscribeInfo.GetSubscribeKey() &&
            other.GetListener() == subscribeInfo.GetListener();
    });
    if (code != 0 || found == subscriptions.end()) {
        return code != 0 ? code : 1;
    }
    subscriptions.erase(found);
    const CharacteristicProfile* known = answersInline ? Find(subscribeInfo) : nullptr;
    if (known != nullptr) {
        subscribeInfo.GetListener()->OnCharacteristicProfileDelete(*known);
    }
    return 0;
}

int32_t FakeDeviceProfileClient::PutServiceProfile(const ServiceProfile& profile) {
    return Call(
        "PutServiceProfile", profile.GetDeviceId() + ", " + profile.GetServiceName() + ", " + profile.GetServiceType());
}

int32_t FakeDeviceProfileClient::PutCharacteristicProfile(const CharacteristicProfile& profile) {
    const int32_t code = Call("PutCharacteristicProfile",
        profile.GetDeviceId() + ", " + profile.GetServiceName() + ", " + profile.GetCharacteristicKey() + ", " +
            profile.GetCharacteristicValue());
    if (code == 0) {
        characteristics.insert_or_assign(NameOf(profile), profile);
    }
    if (onPut) {
        onPut(profile);
    }
    return code;
}

int32_t FakeDeviceProfileClient::GetCharacteristicProfile(const std::string& deviceId, const std::string& serviceName,
    const std::string& characteristicKey, CharacteristicProfile& profile) {
    const int32_t code = Call("GetCharacteristicProfile", deviceId + ", " + serviceName + ", " + characteristicKey);
    const auto found = characteristics.find({deviceId, serviceName, characteristicKey});
    if (code != 0 || found == characteristics.end()) {
        return code != 0 ? code : 1;
    }
    profile = found->second;
    return 0;
}

int32_t FakeDeviceProfileClient::Publish(const CharacteristicProfile& profile) {
    const auto [entry, isNew] = characteristics.try_emplace(NameOf(profile));
    const CharacteristicProfile old = entry->second;
    entry->second = profile;
    if (isNew) {
        return Tell(profile, ProfileChangeType::CHARACTERISTIC_ADD,
            [&](IProfileChangeListener& listener) { return listener.OnCharacteristicProfileAdd(profile); });
    }
    return Tell(profile, ProfileChangeType::CHARACTERISTIC_UPDATE,
        [&](IProfileChangeListener& listener) { return listener.OnCharacteristicProfileUpdate(old, profile); });
}

int32_t FakeDeviceProfileClient::Delete(const CharacteristicProfile& profile) {
    characteristics.erase(NameOf(profile));
    return Tell(profile, ProfileChangeType::CHARACTERISTIC_DELETE,
        [&](IProfileChangeListener& listener) { return listener.OnCharacteristicProfileDelete(profile); });
}

const CharacteristicProfile* FakeDeviceProfileClient::Find(const SubscribeInfo& info) const {
    const SubscribeKey& key = info.GetSubscribeKey();
    const auto found = characteristics.find({key.deviceId, key.serviceName, key.characteristicKey});
    return found != characteristics.end() ? &found->second : nullptr;
}

int32_t FakeDeviceProfileClient::Tell(
    const CharacteristicProfile& profile, ProfileChangeType type, const Report& report) const {
    int32_t result = 0;
    for (const SubscribeInfo& info : std::vector(subscriptions)) {
        if (info.Wants(profile, type)) {
            result = report(*info.GetListener());
        }
    }
    return result;
}

}  // namespace ZYNE::Testing
