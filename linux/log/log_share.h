// How much of the log one peer may fill.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "linux/base/log_share_scope.h"
#include "linux/base/mutex.h"

namespace ZYNE::Linux {

// Any thread. Kept for as long as the peer is known, or a peer that comes again gets a new one. The log asks the share
// of the thread that prints, see LogShareScope.
class LogShare {
public:
    using Clock = std::chrono::steady_clock;

    // At once, and in each of the times that follow one another.
    static constexpr size_t MAX_LINES = 400;
    static constexpr std::chrono::minutes TIME{1};

    // `device` is what the log calls the peer.
    explicit LogShare(std::string device, std::function<Clock::time_point()> now = Clock::now);

    // Whether one more line may be printed; it is counted.
    bool Take();

    // Whether lines were suppressed and nobody is going to report it yet; the caller does from then on.
    bool WantsReport();
    // How many lines were suppressed since the last report, as a line for the log.
    std::string Report();

private:
    const std::string device_;
    const std::function<Clock::time_point()> now_;

    Mutex mutex_;                                 // a leaf
    Clock::time_point begin_ GUARDED_BY(mutex_);  // of the time that runs
    size_t taken_ GUARDED_BY(mutex_) = 0;         // since begin_
    size_t suppressed_ GUARDED_BY(mutex_) = 0;    // since the last report
    bool willBeReported_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
