// The clock that every wait and delay of the library goes by.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "platform/export.h"

namespace ZYNE {

// Any thread. A port may let the time run out before it unloads the library: from then on every sleep and wait returns
// at once and Now() is past every deadline that was ever computed, so that no waiting task outlives the process's
// stop.
class PLATFORM_API TimeSource {
public:
    using Clock = std::chrono::steady_clock;
    using TimePoint = Clock::time_point;

    static TimeSource& GetInstance();  // defined by the port

    // Monotonic.
    virtual TimePoint Now() = 0;

    // Blocks the calling thread for `duration`, or until `deadline`; returns at once when that has passed.
    virtual void SleepFor(Clock::duration duration) = 0;
    virtual void SleepUntil(TimePoint deadline) = 0;

    // Waits on `condition` with `lock` held, like std::condition_variable::wait_until; wakes up spuriously at times.
    // False when `deadline` has passed.
    virtual bool WaitUntil(
        std::condition_variable& condition, std::unique_lock<std::mutex>& lock, TimePoint deadline) = 0;

protected:
    ~TimeSource() = default;
};

}  // namespace ZYNE
