// Has an event loop read a connection, of whatever library.
#pragma once

#include <functional>

#include "linux/base/event_loop.h"
#include "linux/bus/bus_poller.h"

namespace ZYNE::Linux {

// The loop's thread, or any while the loop has stopped.
class BusPump {
public:
    // Both are called on the loop's thread and do not throw. `process` handles one message: positive when there was
    // one, 0 when there was none, negative when the connection has ended; then nothing more is called. `interest` says
    // what to wait for.
    struct Connection {
        std::function<int()> process;
        std::function<BusInterest()> interest;
    };

    // Reads from now on.
    BusPump(EventLoop& loop, Connection connection);
    BusPump(const BusPump&) = delete;
    BusPump& operator=(const BusPump&) = delete;

    // Handles what waits. To be called after another thread has used the connection: it may have read messages that are
    // still to be handled, or have had no room to write.
    void Work();

private:
    void Await();

    EventLoop& loop_;
    const Connection connection_;
    bool hasEnded_ = false;
    EventLoop::Source arrival_;
    EventLoop::Source timer_;
};

}  // namespace ZYNE::Linux
