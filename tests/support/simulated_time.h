// Time as a list of events on one thread: whoever sleeps or waits runs what is due meanwhile, in order, at no cost.
#pragma once

#include <atomic>
#include <functional>
#include <map>

#include "platform/time/time_source.h"

namespace ZYNE::Testing {

// One thread, but for Now() and the waits of a device that was switched to real time.
class SimulatedTime final : public TimeSource {
public:
    // Has `event` run `delay` from now.
    void At(Clock::duration delay, std::function<void()> event);
    // Since the device was made.
    Clock::duration Elapsed() { return Now() - START; }
    // How many real waits nobody ended before their deadline.
    int ExpiredWaits() const { return expiredWaits_; }
    // From now on sleeps and waits are real, and `speed` times as short as asked for: for tests with threads.
    void UseRealTime(int speed = 1) {
        realStart_ = Clock::now();
        speed_ = speed;
    }

    TimePoint Now() override;
    void SleepFor(Clock::duration duration) override;
    void SleepUntil(TimePoint deadline) override;
    bool WaitUntil(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, TimePoint deadline) override;

private:
    static constexpr TimePoint START{std::chrono::hours(1)};

    // Moves to the next event that is due by `deadline` and runs it; false when there is none.
    bool RunNextUntil(TimePoint deadline);

    // The moment of the real clock at which it is `time` here.
    TimePoint ToReal(TimePoint time) const { return realStart_ + (time - START) / speed_; }

    int speed_ = 0;  // 0: simulated
    TimePoint realStart_;
    std::atomic<int> expiredWaits_{0};
    TimePoint now_ = START;
    std::multimap<TimePoint, std::function<void()>> events_;
};

}  // namespace ZYNE::Testing
