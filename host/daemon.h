// One device: everything that collabd runs, in the order in which it starts and stops.
#pragma once

#include <memory>
#include <string>

#include "host/config.h"

namespace ZYNE::Host {

// Used by the main thread: the bus ends with the thread that starts it. One in a process, started once.
class Daemon {
public:
    explicit Daemon(Config config);
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;
    // Stops.
    ~Daemon();

    // Throws std::exception with one line when the device cannot start. When the device can go on no more it sends
    // SIGTERM to the process.
    void Start();

    // Ends every part and every thread. Requests under way are given up, and so is what waits or sleeps. False when the
    // device had lost its bus.
    bool Stop();

private:
    struct Parts;

    void StartLog();
    void StartBus();
    void StartStores();
    void StartDesktop();
    void StartApi();
    void StartLibrary();
    void StartFabric();
    void StartCrossing();
    static void StopDesktop();
    void OnBusLost();

    const Config config_;
    std::string udid_;
    std::unique_ptr<Parts> parts_;
};

}  // namespace ZYNE::Host
