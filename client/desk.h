// The pointer's way between devices, as the companion of a device tells it.
//
//     Desk desk(entry);
//     if (const auto state = desk.GetState(); state.where == "away") {
//         desk.Return();
//     }
//
// The companion runs while crossing is on and a peer takes part in it. While it does not, every operation throws
// CompanionMissing.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/device_error.h"
#include "client/device_registry.h"

namespace ZYNE::Client {

class CompanionMissing : public DeviceError {
public:
    using DeviceError::DeviceError;
};

struct DeskState {
    std::string where;  // home, leaving, away, host
    std::string peer;   // the id of the other device; empty at home
    uint64_t sent;      // events to peers
    uint64_t dropped;
    int64_t roundTrip;  // the last to a peer's companion, in microseconds; -1 while there was none
};

struct DeskFact {
    std::string name;
    bool holds;
};

struct Passage {
    std::string what;  // entered, home, guest, guest-left, refused
    std::string peer;  // the id
    std::string why;
};

// One thread at a time; a connection of its own.
class Desk {
public:
    // Throws DeviceError when the device cannot be reached.
    explicit Desk(const DeviceEntry& device);
    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;
    ~Desk();

    DeskState GetState();
    // Brings the pointer home, this device's or one that is here. False when each is at home.
    bool Return();
    // What must hold for crossing to the device `peer`, an id.
    std::vector<DeskFact> Explain(const std::string& peer);

    // Tells of passages until the descriptor `stop` can be read; also of those of a companion that starts later.
    // Throws DeviceError when the device has ended.
    void Follow(int stop, const std::function<void(const Passage&)>& told);

private:
    class Proxy;
    struct Connection;

    const std::string device_;  // its name
    const std::unique_ptr<Connection> connection_;
};

}  // namespace ZYNE::Client
