// The library's clock on Linux: the steady clock, which the daemon moves to the end of time when it stops.
#pragma once

#include <atomic>

#include "linux/base/mutex.h"
#include "platform/time/time_source.h"

namespace ZYNE::Linux {

// Any thread.
class SteadyTime final : public TimeSource {
public:
    TimePoint Now() override;
    void SleepFor(Clock::duration duration) override;
    void SleepUntil(TimePoint deadline) override;
    bool WaitUntil(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, TimePoint deadline) override;

    // From now on every sleep or wait returns at once, and the clock is past every deadline that was computed before.
    // Those that sleep wake up at once, those that wait within a tenth of a second. For good.
    void RunOut();

private:
    // Once the time has run out: moves the clock to `deadline`, unless it is later already.
    void LeapTo(TimePoint deadline);

    std::atomic<Clock::rep> runOutAt_{0};  // what the clock shows after the time has run out; 0 until then
    Mutex sleepMutex_;
    std::condition_variable sleepers_;  // the time has run out
};

}  // namespace ZYNE::Linux
