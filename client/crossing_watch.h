// Listens to the events of crossing on a device.
//
//     CrossingWatch watch(device, {"keyboard", "edge"}, [](const CrossingEvent& event) { ... });
//     watch.Follow(stop);
//
// A program may take its time with an event: the device has its answer before the program is told. While the program is
// busy MOST_WAITING events wait for it. More are refused, and the program does not hear of them.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "client/crossing_events.h"
#include "client/device.h"
#include "linux/base/mailbox.h"
#include "linux/base/thread_pool.h"

namespace ZYNE::Client {

// One thread at a time. Has a connection of its own for the events, and a few threads. Its device outlives it, and is
// used by the constructor and the destructor.
class CrossingWatch {
public:
    static constexpr size_t MOST_WAITING = 1024;

    // Registers this process for `events`: keyboard, edge, screen, switch. From now on each is told to `told`, in the
    // order in which the device sends them, one at a time on threads of this object. An exception of `told` is printed
    // on standard error. It may use the device while nobody else does; Follow does not. Throws DeviceError.
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
    Linux::ThreadPool pool_{1};
    std::mutex registering_;  // held until all is registered: nothing is told before that
    const std::shared_ptr<Linux::Mailbox<CrossingEvent>> mailbox_;
    std::unique_ptr<Server> server_;
};

}  // namespace ZYNE::Client
