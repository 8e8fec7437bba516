// Asks the desktop not to turn the screen off.
//
// It asks org.freedesktop.ScreenSaver on the user's session bus or, where there is none, the login manager on the
// system bus, whose idle locks desktops respect. Both forget the request when this process ends, so nothing is left
// behind when it is killed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "linux/base/unique_fd.h"
#include "linux/bus/bus_handles.h"

namespace ZYNE::Linux {

// The addresses of the machine's buses.
struct PowerBuses {
    std::string session;  // empty where there is none
    std::string system;

    // As the environment of this process tells.
    static PowerBuses OfUser();
};

// One thread at a time. Every operation blocks for a few seconds at most, even when the desktop hangs.
class ScreenInhibitor {
public:
    // What keeps the screen on.
    struct Inhibition {
        uint64_t connection = 0;  // which one of ours it was asked on
        std::string owner;        // the screen saver's connection; empty for the login manager
        std::string path;         // where the screen saver was asked
        uint32_t cookie = 0;      // what the screen saver calls the request
        UniqueFd fd;              // of the login manager, which forgets the request when this is closed
    };

    explicit ScreenInhibitor(PowerBuses buses);

    // Null, with the reason in `error`, when nobody takes the request. People see `reason`.
    std::unique_ptr<Inhibition> Inhibit(const std::string& reason, std::string& error);

    // Whether the service that took the request is still there. A new one in its place does not know of it.
    bool IsHeld(const Inhibition& inhibition);

    void Release(std::unique_ptr<Inhibition> inhibition);

    // Leaves the bus, which ends what is not released.
    void Close() { session_.reset(); }

private:
    bool Connect(std::string& error);
    std::unique_ptr<Inhibition> AskScreenSaver(const std::string& reason, std::string& error);
    std::unique_ptr<Inhibition> AskLoginManager(const std::string& reason, std::string& error) const;

    const PowerBuses buses_;
    BusHandle session_;        // made on first use, and anew when it has ended
    uint64_t connection_ = 0;  // how often it was made
};

}  // namespace ZYNE::Linux
