// The part of a device's interface that is about profiles: what each device publishes and what others know of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/known_peer.h"
#include "linux/profile/profile_service.h"
#include "platform/device_profile/characteristic_profile.h"

namespace ZYNE::Host {

// Any thread. Every operation is as in device_api.xml, and throws ApiError.
class ProfileApi {
public:
    // Texts in the form that the bus accepts.
    struct Entry {
        std::string deviceName;
        std::string deviceId;
        std::string service;
        std::string serviceType;  // empty when it is not known, and in a change
        std::string key;
        std::string value;
        bool whole;  // `value` is complete
    };

    struct Change {
        std::string what;  // added, updated, deleted
        Entry entry;
    };

    // `profiles` outlives this; `peers` is called on any thread.
    ProfileApi(Linux::ProfileService& profiles, std::function<std::vector<KnownPeer>()> peers);

    std::string Get(const std::string& device, const std::string& service, const std::string& serviceType,
        const std::string& key) const;
    int32_t Put(const std::string& service, const std::string& serviceType, const std::string& key,
        const std::string& value) const;
    int32_t Delete(const std::string& service, const std::string& key) const;
    std::vector<Entry> List(const std::string& device) const;

    // A change in the form in which programs are told.
    Change Describe(Linux::ProfileChange change, const CharacteristicProfile& profile) const;

private:
    Linux::ProfileService& profiles_;
    const std::function<std::vector<KnownPeer>()> peers_;
};

}  // namespace ZYNE::Host
