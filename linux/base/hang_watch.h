// Tells a loop that hangs from a process that was stopped.
#pragma once

#include <algorithm>
#include <chrono>

namespace ZYNE::Linux {

// One thread, which looks every `step`.
class HangWatch {
public:
    using Clock = std::chrono::steady_clock;

    // A loop hangs when it has not come round for `patience`.
    HangWatch(Clock::duration step, Clock::duration patience, Clock::time_point now = Clock::now())
        : step_(step), patience_(patience), lookedAt_(now), since_(now) {}

    // Whether the loop, which came round last at `lastRound`, hangs.
    bool Look(Clock::time_point lastRound, Clock::time_point now = Clock::now()) {
        // Whoever looks late was stopped itself, and so was the loop: it gets its time anew.
        if (now - lookedAt_ > 2 * step_) {
            since_ = now;
        }
        lookedAt_ = now;
        return now - std::max(lastRound, since_) >= patience_;
    }

private:
    const Clock::duration step_;
    const Clock::duration patience_;
    Clock::time_point lookedAt_;
    Clock::time_point since_;  // the process has run without a gap
};

}  // namespace ZYNE::Linux
