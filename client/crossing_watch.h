// Listens to the events of crossing on a device.
//
//     CrossingWatch watch(device, {"keyboard", "edge"}, [](const CrossingEvent& event) { ... });
//     watch.Follow(stop);
//
// A program may take its time with an event: the device has its answer before the program is told. While the program is
// busy EventTeller::MOST_WAITING events wait for it. More are refused, and the program does not hear of them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "client/crossing_events.h"
#include "client/device.h"
#include "client/event_teller.h"

namespace ZYNE::Client {

// One thread at a time. Has a connection of its own for the events, and a few threads. Its device outlives it, and is
// used by the constructor and the destructor.
class CrossingWatch {
public:
    // Registers this process for `events`: keyboard, edge, screen, switch. From now on each is told to `told`, in the
    // order in which the device sends them, on one thread of this object. An exception of `told` is printed on standard
    // error. It may use the device while nobody else does; Follow does not. Throws DeviceError.
    CrossingWatch(Device& device, std::vector<std::string> events, std::function<void(const CrossingEvent&)> told);
    CrossingWatch(const CrossingWatch&) = delete;
    CrossingWatch& operator=(const CrossingWatch&) = delete;
    // Waits until `told` has returned and takes the registrations away. Nothing is told after this.
    ~CrossingWatch();

    // Waits until the descriptor `stop` can be read. Throws DeviceError when the device has ended.
    void Follow(int stop);

private:
    class Server;

    Device& device_;
    const std::vector<std::string> events_;
    EventTeller teller_;
    std::unique_ptr<Server> server_;
};

}  // namespace ZYNE::Client
