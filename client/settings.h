// The settings of a device and of its users.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::Client {

class DeviceConnection;

// Part of a Device; see there for threads and errors.
class Settings {
public:
    // The user number for the settings that all users share.
    static constexpr int32_t ALL_USERS = -1;

    explicit Settings(DeviceConnection& connection) : connection_(connection) {}

    // A setting of `user`. Get throws NotFound when there is none; Put adds it then.
    std::string Get(const std::string& key, int32_t user);
    void Put(const std::string& key, const std::string& value, int32_t user);

private:
    DeviceConnection& connection_;
};

}  // namespace ZYNE::Client
