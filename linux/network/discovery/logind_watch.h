// Hears from logind that the machine wakes up.
#pragma once

#include <functional>

#include "linux/bus/bus_handles.h"
#include "linux/network/link/event_loop.h"

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
    void Connect();
    void Process();
    void WaitForMore();

    EventLoop& loop_;
    const std::function<void()> onWake_;
    BusHandle bus_;
    bool hasWoken_ = false;  // told when no function of sd-bus is running
    EventLoop::Source arrival_;
    EventLoop::Source timer_;  // what sd-bus waits for, or the next try
};

}  // namespace ZYNE::Linux
