// Listens to the events of crossing on a device.
//
//     CrossingWatch watch(device, {"keyboard", "edge"}, [](const CrossingEvent& event) { ... });
//     watch.Follow(stop);
//
// A program may take its time with an event: the device is answered before the program is told. While the program is
// busy, up to MAX_WAITING events wait for it. Further ones are refused, and the program misses them.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "client/crossing_events.h"
#include "client/device.h"
#include "linux/base/mailbox.h"
#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"

namespace ZYNE::Client {

// One thread at a time. Has a connection of its own for the events, and a few threads. Its device must outlive it; the
// constructor and the destructor use it.
class CrossingWatch {
public:
    static constexpr size_t MAX_WAITING = 1024;

    // Registers this process for `events`: keyboard, edge, screen, switch. From now on `told` is called with each
    // event, in the order in which the device sends them, one at a time on threads of this object. An exception of
    // `told` is printed on standard error. `told` may use the device while nobody else does; Follow does not. Throws
    // DeviceError.
    CrossingWatch(Device& device, std::vector<std::string> events, std::function<void(const CrossingEvent&)> told);
    CrossingWatch(const CrossingWatch&) = delete;
    CrossingWatch& operator=(const CrossingWatch&) = delete;
    // Waits until `told` has returned and removes the registrations. `told` is not called after this.
    ~CrossingWatch();

    // Waits until the descriptor `stop` can be read. Throws DeviceError when the device has ended.
    void Follow(int stop);

private:
    class Server;

    Device& device_;
    const std::vector<std::string> events_;
    Linux::ThreadPool pool_{1};
    Linux::Mutex registering_;  // held until all is registered: nothing is told before that
    const std::shared_ptr<Linux::Mailbox<CrossingEvent>> mailbox_;
    std::unique_ptr<Server> server_;
};

}  // namespace ZYNE::Client
