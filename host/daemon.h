// One device: everything that collabd runs, in the order in which it starts and stops.
#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "client/device_registry.h"
#include "host/config.h"
#include "host/device_api.h"
#include "linux/linux_device.h"

namespace ZYNE::Host {

// For the main thread, as the bus ends with the thread that starts it. One in a process at a time, started once.
class Daemon {
public:
    explicit Daemon(Config config);
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;
    // Stops.
    ~Daemon();

    // Throws std::exception with one line when the device cannot start. A device that cannot go on later sends SIGTERM
    // to its own process.
    void Start();

    // Ends every part and every thread. Requests under way are abandoned, and so is what waits or sleeps. False when
    // the device had lost its bus.
    bool Stop();

    // See LinuxDevice. Any thread.
    Linux::EventLoop::Clock::time_point LastRound() const { return device_.LastRound(); }

private:
    void OpenLog();
    void OpenDevice();
    void StartApi();
    void StartDesktop();
    void StartLibrary();
    void JoinNetwork();
    void StartCrossing();
    void OnBusLost();

    const Config config_;
    std::string udid_;
    std::atomic<bool> busLost_{false};
    std::optional<Client::DeviceRegistration> registration_;
    Linux::LinuxDevice device_;
    std::optional<DeviceApi> api_;
};

}  // namespace ZYNE::Host
