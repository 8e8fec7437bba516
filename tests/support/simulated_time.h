// Time as a list of events on one thread: whoever sleeps or waits runs what is due meanwhile, in order, at no cost.
#pragma once

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <thread>
#include <utility>

#include "platform/time/time_source.h"

namespace ZYNE::Testing {

// One thread, but for Now() and the waits of a device that was switched to real time.
class SimulatedTime final : public TimeSource {
public:
    // Has `event` run `delay` from now.
    void At(Clock::duration delay, std::function<void()> event) { events_.emplace(now_ + delay, std::move(event)); }
    // Since the device was made.
    Clock::duration Elapsed() { return Now() - START; }
    // How many real waits nobody ended before their deadline.
    int ExpiredWaits() const { return expiredWaits_; }
    // Runs once, with the lock held, between the next waiter's look at its condition and its wait.
    std::function<void()> beforeWait;

    // From now on sleeps and waits are real, and `speed` times as short as asked for: for tests with threads.
    void UseRealTime(int speed = 1) {
        realStart_ = Clock::now();
        speed_ = speed;
    }

    TimePoint Now() override { return speed_ > 0 ? START + (Clock::now() - realStart_) * speed_ : now_; }
    void SleepFor(Clock::duration duration) override { SleepUntil(Now() + duration); }
    void SleepUntil(TimePoint deadline) override {
        if (speed_ > 0) {
            std::this_thread::sleep_until(ToReal(deadline));
            return;
        }
        while (RunNextUntil(deadline)) {
        }
    }
    bool WaitUntil(
        std::condition_variable& condition, std::unique_lock<std::mutex>& lock, TimePoint deadline) override {
        if (speed_ > 0) {
            const bool woken = condition.wait_until(lock, ToReal(deadline)) == std::cv_status::no_timeout;
            expiredWaits_ += woken ? 0 : 1;
            return woken;
        }
        if (const auto event = std::exchange(beforeWait, nullptr)) {
            event();
        }
        lock.unlock();
        const bool ran = RunNextUntil(deadline);
        lock.lock();
        return ran;
    }

private:
    static constexpr TimePoint START{std::chrono::hours(1)};

    // Moves to the next event that is due by `deadline` and runs it; false when there is none and it is `deadline`.
    bool RunNextUntil(TimePoint deadline) {
        if (events_.empty() || events_.begin()->first > deadline) {
            now_ = std::max(now_, deadline);
            return false;
        }
        auto next = events_.extract(events_.begin());
        now_ = std::max(now_, next.key());
        next.mapped()();
        return true;
    }
    // The moment of the real clock at which it is `time` here.
    TimePoint ToReal(TimePoint time) const { return realStart_ + (time - START) / speed_; }

    int speed_ = 0;  // 0: simulated
    TimePoint realStart_;
    std::atomic<int> expiredWaits_{0};
    TimePoint now_ = START;
    std::multimap<TimePoint, std::function<void()>> events_;
};

}  // namespace ZYNE::Testing
