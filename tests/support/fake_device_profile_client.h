// The distributed device profile: what this device and its peers have published, and who has subscribed to it.
#pragma once

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
    int32_t SubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) override;
    int32_t UnSubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) override;
    // "PutServiceProfile(device, service, type)".
    int32_t PutServiceProfile(const ServiceProfile& profile) override;
    // "PutCharacteristicProfile(device, service, key, value)".
    int32_t PutCharacteristicProfile(const CharacteristicProfile& profile) override;
    // "GetCharacteristicProfile(device, service, key)"; 1 when there is none.
    int32_t GetCharacteristicProfile(const std::string& deviceId, const std::string& serviceName,
        const std::string& characteristicKey, CharacteristicProfile& profile) override;

    // A peer publishes or deletes a characteristic: whoever has subscribed to it is told. The listener's last result.
    int32_t Publish(const CharacteristicProfile& profile);
    int32_t Delete(const CharacteristicProfile& profile);

    std::map<Name, CharacteristicProfile> characteristics;
    std::vector<SubscribeInfo> subscriptions;  // in the order in which they were made
    // Runs inside PutCharacteristicProfile, before it returns.
    std::function<void(const CharacteristicProfile& profile)> onPut;
    // A port that is not allowed, but shows which locks are held: a listener is told inside SubscribeDeviceProfile that
    // what is known is added, and inside UnSubscribeDeviceProfile that it is deleted.
    bool answersInline = false;

private:
    using Report = std::function<int32_t(IProfileChangeListener& listener)>;

    // The characteristic that the subscription asks for; null when it is not known.
    const CharacteristicProfile* Find(const SubscribeInfo& info) const;
    // The last result of those who want such a change.
    int32_t Tell(const CharacteristicProfile& profile, ProfileChangeType type, const Report& report) const;
};

}  // namespace ZYNE::Testing
