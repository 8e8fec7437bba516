// Follows what a device tells of changes of profiles, its own and those of its peers.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "client/device_client.h"

namespace ZYNE::Client {

struct ProfileChange {
    std::string what;    // added, updated, deleted
    ProfileEntry entry;  // without the service type
};

// One thread at a time.
class ProfileWatch {
public:
    // Whatever changes from now on is told to `told`, in Follow. Throws DeviceError.
    ProfileWatch(const DeviceEntry& device, std::function<void(const ProfileChange&)> told);
    ProfileWatch(const ProfileWatch&) = delete;
    ProfileWatch& operator=(const ProfileWatch&) = delete;
    ~ProfileWatch();

    // Tells of changes until the descriptor `stop` can be read. Throws DeviceError when the device has ended.
    void Follow(int stop);

private:
    class Proxy;

    const std::string name_;
    std::unique_ptr<sdbus::IConnection> connection_;
    std::unique_ptr<Proxy> proxy_;
};

}  // namespace ZYNE::Client
