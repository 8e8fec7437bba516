// How many changes of its profile a peer may send.
#pragma once

#include <algorithm>
#include <chrono>

namespace ZYNE::Linux {

// One thread at a time.
class ProfileShare {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr double MAX_PER_SECOND = 20000;
    static constexpr double MAX_AT_ONCE = 20000;  // a whole profile is 4096

    explicit ProfileShare(Clock::time_point now) : last_(now) {}

    // Counts a change. False when it is one too many.
    bool Take(Clock::time_point now) {
        left_ = std::min(MAX_AT_ONCE, left_ + std::chrono::duration<double>(now - last_).count() * MAX_PER_SECOND);
        last_ = now;
        if (left_ < 1) {
            return false;
        }
        left_ -= 1;
        return true;
    }

private:
    double left_ = MAX_AT_ONCE;
    Clock::time_point last_;
};

}  // namespace ZYNE::Linux
