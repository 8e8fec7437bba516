// Follows what a device tells of changes of profiles, its own and those of its peers.
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

// Over the connection of its device, which outlives it; the thread rule is the device's.
class ProfileWatch {
public:
    // Whatever changes from now on waits for Follow, which tells `told`. That may use the device, and throws nothing.
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
