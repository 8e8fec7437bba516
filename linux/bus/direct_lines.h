// Calls to services without the bus in between: half the hand-overs, and none of the bus's own work.
//
// At the first request the service gets one end of a socket over the bus, see BusWire::CONNECT; requests then travel on
// it as they do on the bus. Only the device asks for that and only the service gets the other end, so each knows whom it
// talks to. The bus stays the way to all that offer no line, and for every request that finds no line free; it also
// says when a service has died.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/bus/bus_caller.h"

namespace ZYNE::Linux {

// Any thread. A line is one call's alone while that runs, as a connection of BusCaller is.
class DirectLines {
public:
    explicit DirectLines(std::shared_ptr<BusCaller> caller) : caller_(std::move(caller)) {}

    // Calls `method`, which is one of BusWire::OBJECT_INTERFACE. None when the request must go over the bus: it has not
    // been answered, and will not be unless it is sent again. Never throws.
    std::optional<int> Call(const BusMethod& method, BusCaller::Clock::time_point deadline,
        const BusCaller::Access& write, const BusCaller::Access& read) noexcept;

    // The process has left the bus.
    void Forget(const std::string& uniqueName);

    // Ends idle lines. There are no others later.
    void Close();

private:
    using Key = std::pair<std::string, std::string>;  // unique name and path
    struct Service {
        bool isWithout = false;  // it offers none
        size_t open = 0;         // lines, with those that are being made
        std::vector<BusHandle> idle;
    };

    // Of one service. Further requests at the same time go over the bus.
    static constexpr size_t MAX_OPEN = 8;

    BusHandle Borrow(const Key& key, BusCaller::Clock::time_point deadline);
    BusHandle Open(const Key& key, BusCaller::Clock::time_point deadline);
    int Offer(const Key& key, int socket, BusCaller::Clock::time_point deadline);
    void GiveBack(const Key& key, BusHandle line);

    const std::shared_ptr<BusCaller> caller_;
    Mutex mutex_;
    std::map<Key, Service> services_ GUARDED_BY(mutex_);
    bool isClosed_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
