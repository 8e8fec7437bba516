// Waits until a bus connection has something to do, or until another thread calls.
#pragma once

#include <cstdint>

#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {

// What sd-bus waits for on a connection; asked for under the connection's lock.
struct BusInterest {
    int fd = -1;
    int events = 0;
    uint64_t deadline = UINT64_MAX;  // of the monotonic clock, microseconds
};

class BusPoller {
public:
    BusPoller();  // throws std::system_error

    // Returns when `interest` is met, or at once when Wake was called since the last return.
    void Wait(const BusInterest& interest);

    // Any thread.
    void Wake();

private:
    UniqueFd wake_;
};

}  // namespace ZYNE::Linux
