// The library's clock on Linux: the steady clock, which the daemon lets run out when it stops.
#pragma once

#include <atomic>

#include "platform/time/time_source.h"

namespace ZYNE::Linux {

// Any thread.
class SteadyTime final : public TimeSource {
public:
    TimePoint Now() override;
    void SleepFor(Clock::duration duration) override;
    void SleepUntil(TimePoint deadline) override;
    bool WaitUntil(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, TimePoint deadline) override;

    // From now on a sleep or wait returns at once and moves the clock to its deadline, which no deadline computed
    // earlier lies behind. Sleepers wake up at once, waiters within a tenth of a second. For good.
    void RunOut();

private:
    // Moves the clock to `deadline`, unless it is there, after the time has run out.
    void LeapTo(TimePoint deadline);

    std::atomic<Clock::rep> runOutAt_{0};  // what the clock shows after the time has run out; 0 until then
    std::mutex sleepMutex_;
    std::condition_variable sleepers_;  // the time has run out
};

}  // namespace ZYNE::Linux
