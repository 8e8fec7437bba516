// Hears from logind that the machine wakes up.
#pragma once

#include <functional>
#include <memory>

#include "linux/base/event_loop.h"
#include "linux/bus/bus_connection.h"

namespace ZYNE::Linux {

// The loop's thread only. Where there is no system bus, or no logind, nothing happens. A bus that is lost is looked for
// again every minute.
class LogindWatch {
public:
    // `onWake` is called from the loop.
    LogindWatch(EventLoop& loop, std::function<void()> onWake);
    LogindWatch(const LogindWatch&) = delete;
    LogindWatch& operator=(const LogindWatch&) = delete;

private:
    static int OnPrepareForSleep(sd_bus_message* message, void* self, sd_bus_error* error);
    static int OnEnd(sd_bus_message* message, void* self, sd_bus_error* error);
    void Connect();

    EventLoop& loop_;
    const std::function<void()> onWake_;
    std::shared_ptr<BusConnection> bus_;
    EventLoop::Source wake_;  // when no function of sd-bus is running
    EventLoop::Source retry_;
};

}  // namespace ZYNE::Linux
