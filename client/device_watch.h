// Follows the changes that a device tells of: of profiles, its own and those of its peers, of its peers, of its screen.
//
//     DeviceWatch watch(device, {.profile = [](const ProfileChange& change) { ... }});
//     watch.Follow(stop);
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "client/device.h"

namespace ZYNE::Client {

struct ProfileChange {
    std::string what;    // added, updated, deleted
    ProfileEntry entry;  // without the service type
};

// Each may be empty. They may use the device and must not throw.
struct DeviceHandlers {
    std::function<void(const ProfileChange& change)> profile{};
    std::function<void()> peers{};                 // one has come, gone or changed: see Info::ListPeers
    std::function<void(int32_t status)> screen{};  // as for Crossing::GetScreen
};

// Uses the connection of its device, which must outlive it, and by the same thread rule.
class DeviceWatch {
public:
    // Changes from now on wait for Follow, which calls the handlers with them. Throws DeviceError.
    DeviceWatch(Device& device, DeviceHandlers handlers);
    DeviceWatch(const DeviceWatch&) = delete;
    DeviceWatch& operator=(const DeviceWatch&) = delete;
    ~DeviceWatch();

    // Tells of changes until the descriptor `stop` can be read. Throws DeviceError when the device has ended.
    void Follow(int stop);

private:
    class Signals;

    DeviceConnection& connection_;
    const std::unique_ptr<Signals> signals_;
};

}  // namespace ZYNE::Client
