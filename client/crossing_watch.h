// Listens to the events of crossing on a device.
//
//     CrossingWatch watch(device, {"keyboard", "edge"}, [](const CrossingEvent& event) { ... });
//     watch.Follow(stop);
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "client/crossing_events.h"
#include "client/device_registry.h"

namespace ZYNE::Client {

// One thread at a time.
class CrossingWatch {
public:
    // Registers this process for `events`: keyboard, edge, screen, switch. From now on each is told to `told`, one
    // after another, on threads of this object. The device waits until `told` returns, for eight seconds at most.
    // Throws DeviceError.
    CrossingWatch(
        const DeviceEntry& device, std::vector<std::string> events, std::function<void(const CrossingEvent&)> told);
    CrossingWatch(const CrossingWatch&) = delete;
    CrossingWatch& operator=(const CrossingWatch&) = delete;
    // Takes the registrations away. Nothing is told after this.
    ~CrossingWatch();

    // Waits until the descriptor `stop` can be read. Throws DeviceError when the device has ended.
    void Follow(int stop);

private:
    class Server;

    void Unregister();

    const DeviceEntry device_;
    const std::vector<std::string> events_;
    std::unique_ptr<Server> server_;
};

}  // namespace ZYNE::Client
