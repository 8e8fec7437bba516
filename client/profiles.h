// The values that devices publish, as the device that is asked knows them. DeviceWatch tells of changes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ZYNE::Client {

class DeviceConnection;

struct ProfileEntry {
    std::string deviceName;  // empty when it is not known
    std::string deviceId;    // shortened
    std::string service;
    std::string serviceType;  // empty when it is not known
    std::string key;
    std::string value;
    bool whole;  // `value` is complete, not just its beginning
};

// Part of a Device; see there for threads and errors.
class Profiles {
public:
    explicit Profiles(DeviceConnection& connection) : connection_(connection) {}

    // The value of `key` under `service` in the profile of `device`, a peer as for Info::Get or the device itself. It
    // may be an empty text. No value when nothing is known.
    std::optional<std::string> Get(
        const std::string& device, const std::string& service, const std::string& serviceType, const std::string& key);

    // Both change the device's own profile. 0 when the change is stored, or why it is not, see device_api.xml.
    int32_t Put(
        const std::string& service, const std::string& serviceType, const std::string& key, const std::string& value);
    int32_t Delete(const std::string& service, const std::string& key);

    // All that is known of `device`, or of every device when it is empty, in the order of device names, services and
    // keys. Large values are cut to their beginning.
    std::vector<ProfileEntry> List(const std::string& device);

private:
    DeviceConnection& connection_;
};

}  // namespace ZYNE::Client
