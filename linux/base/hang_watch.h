// Tells a loop that hangs from a process that was stopped.
#pragma once

#include <algorithm>
#include <chrono>

namespace ZYNE::Linux {

// One thread, which looks every `step`.
class HangWatch {
public:
    using Clock = std::chrono::steady_clock;

    // A loop hangs when it has not gone round for `patience`.
    HangWatch(Clock::duration step, Clock::duration patience, Clock::time_point now = Clock::now())
        : step_(step), patience_(patience), lookedAt_(now), since_(now) {}

    // Whether the loop, which last went round at `lastRound`, hangs.
    bool Look(Clock::time_point lastRound, Clock::time_point now = Clock::now()) {
        // If this looks late, the process was stopped, and the loop with it: the loop's time starts again.
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
    Clock::time_point since_;  // the process has run without a gap since then
};

}  // namespace ZYNE::Linux
