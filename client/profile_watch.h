// Follows the changes that a device tells of: in its own profile and in those of its peers.
//
//     ProfileWatch watch(device, [](const ProfileChange& change) { ... });
//     watch.Follow(stop);
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "client/device.h"

namespace ZYNE::Client {

struct ProfileChange {
    std::string what;    // added, updated, deleted
    ProfileEntry entry;  // without the service type
};

// Uses the connection of its device, which must outlive it, and by the same thread rule.
class ProfileWatch {
public:
    // Changes from now on wait for Follow, which calls `told` with them. `told` may use the device and must not throw.
    // Throws DeviceError.
    ProfileWatch(Device& device, std::function<void(const ProfileChange&)> told);
    ProfileWatch(const ProfileWatch&) = delete;
    ProfileWatch& operator=(const ProfileWatch&) = delete;
    ~ProfileWatch();

    // Tells of changes until the descriptor `stop` can be read. Throws DeviceError when the device has ended.
    void Follow(int stop);

private:
    class Signals;

    DeviceConnection& connection_;
    const std::unique_ptr<Signals> signals_;
};

}  // namespace ZYNE::Client
