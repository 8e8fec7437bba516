#include "linux/base/steady_time.h"

#include <algorithm>

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

// A condition variable that belongs to the caller cannot be notified safely from here, so a waiter looks this often
// whether the time has run out.
constexpr auto LOOK_INTERVAL = 100ms;

// Later than any deadline that is computed, yet far from the end of the clock's range of 292 years.
constexpr auto AGE = std::chrono::hours(24 * 365 * 100);

// `start` plus `duration`, or the end of the clock's range if that comes first.
SteadyTime::TimePoint After(SteadyTime::TimePoint start, SteadyTime::Clock::duration duration) {
    return duration < SteadyTime::TimePoint::max() - start ? start + duration : SteadyTime::TimePoint::max();
}

}  // namespace

SteadyTime::TimePoint SteadyTime::Now() {
    const Clock::rep runOutAt = runOutAt_.load();
    return runOutAt == 0 ? Clock::now() : TimePoint(Clock::duration(runOutAt));
}

void SteadyTime::SleepFor(Clock::duration duration) {
    SleepUntil(After(Now(), duration));
}

void SteadyTime::SleepUntil(TimePoint deadline) {
    {
        MutexLock lock(sleepMutex_);
        sleepers_.wait_until(lock, deadline, [&] { return runOutAt_.load() != 0; });
    }
    LeapTo(deadline);
}

bool SteadyTime::WaitUntil(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, TimePoint deadline) {
    if (runOutAt_.load() == 0) {
        condition.wait_until(lock, std::min(deadline, Clock::now() + LOOK_INTERVAL));
    }
    LeapTo(deadline);
    return Now() < deadline;
}

void SteadyTime::LeapTo(TimePoint deadline) {
    const Clock::rep target = std::min(deadline, TimePoint::max() - AGE).time_since_epoch().count();
    Clock::rep current = runOutAt_.load();
    while (current != 0 && current < target && !runOutAt_.compare_exchange_weak(current, target)) {
    }
}

void SteadyTime::RunOut() {
    const MutexLock lock(sleepMutex_);
    Clock::rep expected = 0;
    runOutAt_.compare_exchange_strong(expected, (Clock::now() + AGE).time_since_epoch().count());
    sleepers_.notify_all();
}

}  // namespace ZYNE::Linux
