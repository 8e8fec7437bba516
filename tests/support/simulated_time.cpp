#include "tests/support/simulated_time.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace ZYNE::Testing {

void SimulatedTime::At(Clock::duration delay, std::function<void()> event) {
    events_.emplace(now_ + delay, std::move(event));
}

TimeSource::TimePoint SimulatedTime::Now() {
    return speed_ > 0 ? START + (Clock::now() - realStart_) * speed_ : now_;
}

void SimulatedTime::SleepFor(Clock::duration duration) {
    SleepUntil(Now() + duration);
}

void SimulatedTime::SleepUntil(TimePoint deadline) {
    if (speed_ > 0) {
        std::this_thread::sleep_until(ToReal(deadline));
        return;
    }
    while (RunNextUntil(deadline)) {
    }
    now_ = std::max(now_, deadline);
}

bool SimulatedTime::WaitUntil(
    std::condition_variable& condition, std::unique_lock<std::mutex>& lock, TimePoint deadline) {
    if (speed_ > 0) {
        const bool woken = condition.wait_until(lock, ToReal(deadline)) == std::cv_status::no_timeout;
        expiredWaits_ += woken ? 0 : 1;
        return woken;
    }
    lock.unlock();
    const bool ran = RunNextUntil(deadline);
    if (!ran) {
        now_ = std::max(now_, deadline);
    }
    lock.lock();
    return ran;
}

bool SimulatedTime::RunNextUntil(TimePoint deadline) {
    if (events_.empty() || events_.begin()->first > deadline) {
        return false;
    }
    auto next = events_.extract(events_.begin());
    now_ = std::max(now_, next.key());
    next.mapped()();
    return true;
}

}  // namespace ZYNE::Testing
