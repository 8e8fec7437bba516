// Hears signals on a bus, with a connection and a thread of its own.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "linux/bus/bus_handles.h"
#include "linux/bus/bus_poller.h"

namespace ZYNE::Linux {

// Any thread. What one connection sends is heard in the order in which it was sent.
class SignalListener {
public:
    struct Signal {
        std::string path;
        std::string interface;
        std::string member;
        // Called on the listening thread, one signal at a time, until Stop returns. An exception ends the listening as
        // when the bus is gone.
        std::function<void(sd_bus_message* message)> tell;
    };

    // `lost` is called last, on the listening thread, when the bus is gone.
    SignalListener(std::string address, std::vector<Signal> signals, std::function<void()> lost);
    SignalListener(const SignalListener&) = delete;
    SignalListener& operator=(const SignalListener&) = delete;
    ~SignalListener();

    // Has the signals heard that anyone sends after this returns. The second time does nothing. False once stopped.
    // Throws std::runtime_error when the bus cannot be reached.
    bool Listen();

    // Ends the thread. Not to be called in a callback.
    void Stop();

private:
    void Run();
    static int OnSignal(sd_bus_message* message, void* signal, sd_bus_error* error);

    const std::string address_;
    const std::vector<Signal> signals_;
    const std::function<void()> lost_;
    std::atomic<bool> stopping_ = false;

    std::mutex mutex_;
    std::thread thread_;  // guarded by mutex_
    BusPoller poller_;
    BusHandle bus_;  // the thread's own, once it runs
};

}  // namespace ZYNE::Linux
