// Sends signals on a bus, over a connection of its own.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

#include "linux/bus/bus_handles.h"

namespace ZYNE::Linux {

// Any thread. Signals arrive everywhere in the order in which they were sent.
class SignalSender {
public:
    // The connection is made on first use, once.
    explicit SignalSender(std::string address) : address_(std::move(address)) {}

    // Whether the bus is still there.
    bool IsUp();

    // What the signals' receivers see as their sender; empty when the bus is not there.
    std::string GetUniqueName();

    // Returns when the bus has taken the signal. `write` adds its arguments; negative: an error number. False, with the
    // reason in `error`, when the signal was not sent.
    bool Send(const std::string& path, const std::string& interface, const std::string& member,
        const std::function<int(sd_bus_message*)>& write, std::string& error);

    // Sending begins no more after this.
    void Stop() { stopped_ = true; }

private:
    bool IsUpLocked();

    const std::string address_;
    std::atomic<bool> stopped_ = false;
    std::mutex mutex_;  // held while the bus takes a signal, which keeps the order
    BusHandle bus_;     // guarded by mutex_
};

}  // namespace ZYNE::Linux
