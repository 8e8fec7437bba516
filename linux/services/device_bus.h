// The device's own bus: a private D-Bus daemon, a child of this process, and this process's connection to it.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "linux/bus/bus_client.h"
#include "linux/services/bus_service.h"

namespace ZYNE::Linux {

struct BusOptions {
    std::filesystem::path directory;   // for the socket and what the bus daemon reads; of this device alone
    std::vector<BusService> services;  // what the bus starts on demand
    // The bus has ended by itself, or its socket is gone: the device cannot go on. Called once, whichever it is, on the
    // bus's loop: it must be quick.
    std::function<void()> lost;
};

// Any thread, except where said.
class DeviceBus {
public:
    explicit DeviceBus(ThreadPool& pool);
    DeviceBus(const DeviceBus&) = delete;
    DeviceBus& operator=(const DeviceBus&) = delete;
    // Stops.
    ~DeviceBus();

    // On the process's main thread: the bus daemon ends with the thread that started it, so none is left behind when
    // the process is killed. Throws std::runtime_error with one line, and has then changed nothing.
    void Start(const BusOptions& options);

    // Ends the bus and every service that it started; services that do not end by themselves once the bus is gone are
    // killed. Calls under way return. Removes what Start made. Does nothing when the bus is not up.
    void Stop();

    // Empty when the bus is not up.
    std::string GetAddress() const;

    // Null when the bus is not up.
    std::shared_ptr<BusClient> GetClient() const;

    // The loop that reads the device's buses. Null when the bus is not up.
    EventLoop* GetLoop() const;

    // When that loop last went round; the present time when the bus is not up.
    EventLoop::Clock::time_point LastRound() const;

private:
    struct Running;

    ThreadPool& pool_;
    mutable Mutex mutex_;
    std::shared_ptr<BusClient> client_ GUARDED_BY(mutex_);
    std::unique_ptr<Running> running_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
