// The settings of a device and of its users.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::Client {

class DeviceConnection;

// Of a Device, which says more: threads, errors.
class Settings {
public:
    // Whose settings are meant when no user is.
    static constexpr int32_t ALL_USERS = -1;

    explicit Settings(DeviceConnection& connection) : connection_(connection) {}

    // A setting of `user`; throws NotFound when there is none. One that is to be written need not be there yet.
    std::string Get(const std::string& key, int32_t user);
    void Put(const std::string& key, const std::string& value, int32_t user);

private:
    DeviceConnection& connection_;
};

}  // namespace ZYNE::Client
