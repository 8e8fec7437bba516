// Calls methods over the bus and waits for their answers.
//
// While a call runs it has a connection to itself and reads its own answer, with no other thread in between. So a call
// costs one round trip over the bus, and a slow one holds up no other. Connections are kept for the next calls.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/bus/bus_handles.h"

namespace ZYNE::Linux {

// Which method of which object.
struct BusMethod {
    std::string busName;
    std::string path;
    std::string interface;
    std::string name;
};

// A method of the bus itself.
BusMethod BusDaemonMethod(const std::string& name);

// Any thread.
class BusCaller {
public:
    using Clock = std::chrono::steady_clock;
    // Adds the arguments, or takes the results. Negative: an error number. Runs inside Call.
    using Access = std::function<int(sd_bus_message*)>;

    explicit BusCaller(std::string address);

    // `timeout` covers connecting and calling together. 0, or another IRemoteObject::Result. `error`, if given,
    // receives a text that says what went wrong. Never throws.
    int Call(const BusMethod& method, std::chrono::microseconds timeout, const Access& write, const Access& read,
        std::string* error = nullptr) noexcept;

    // The same over a connection that no other thread uses, and until `deadline`. One that takes too long
    // may still be answered on it. An empty bus name stands for the other end of a connection without a bus.
    static int CallOn(sd_bus* bus, const BusMethod& method, Clock::time_point deadline, const Access& write,
        const Access& read, std::string* error = nullptr) noexcept;

    // Whether the connection may be kept after CallOn for the next call. Drops what else was sent to it.
    static bool IsFitForNext(sd_bus* bus);

    // Closes idle connections. Later calls answer DEAD; those under way go on.
    void Close();

private:
    static constexpr size_t MAX_IDLE = 16;

    BusHandle Borrow(Clock::time_point deadline);
    void GiveBack(BusHandle bus);

    const std::string address_;
    Mutex mutex_;
    std::vector<BusHandle> idle_ GUARDED_BY(mutex_);
    bool closed_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
