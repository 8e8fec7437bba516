// One thing that a device publishes: a service with its type, or a value under a service.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "platform/device_profile/characteristic_profile.h"

namespace ZYNE::Linux {

enum class ProfileKind : uint8_t { SERVICE = 1, CHARACTERISTIC = 2 };

struct ProfileRecord {
    ProfileKind kind = ProfileKind::CHARACTERISTIC;
    // With the device's udid. Of a service, the value is its type; it has no key and is of all users.
    CharacteristicProfile profile;
};
using RecordPtr = std::shared_ptr<const ProfileRecord>;

// What tells the profiles of one device apart.
struct ProfileName {
    explicit ProfileName(const ProfileRecord& record)
        : ProfileName(record.kind, record.profile.GetServiceName(), record.profile.GetCharacteristicKey()) {}
    ProfileName(ProfileKind theKind, std::string theService, std::string theKey)
        : kind(theKind), service(std::move(theService)), key(std::move(theKey)) {}

    ProfileKind kind;
    std::string service;
    std::string key;

    bool operator<(const ProfileName& other) const {
        return std::tie(kind, service, key) < std::tie(other.kind, other.service, other.key);
    }
};

inline bool HasSameContent(const ProfileRecord& a, const ProfileRecord& b) {
    return a.profile.GetUserId() == b.profile.GetUserId() &&
        a.profile.GetCharacteristicValue() == b.profile.GetCharacteristicValue();
}

// As it counts for the bounds.
inline size_t BytesOf(const ProfileRecord& record) {
    return record.profile.GetServiceName().size() + record.profile.GetCharacteristicKey().size() +
        record.profile.GetCharacteristicValue().size();
}

// What one device may publish.
struct ProfileBounds {
    static constexpr size_t NAME_BYTES = 255;
    static constexpr size_t VALUE_BYTES = size_t{4} << 20U;
    static constexpr size_t RECORDS = 4096;
    static constexpr size_t BYTES = size_t{16} << 20U;  // names and values of all its records
};

}  // namespace ZYNE::Linux
