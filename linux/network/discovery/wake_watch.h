// Notices that the machine has slept.
#pragma once

#include <chrono>
#include <functional>

#include "linux/base/event_loop.h"
#include "linux/base/unique_fd.h"
#include "linux/network/discovery/logind_watch.h"

namespace ZYNE::Linux {

// The loop's thread only. Two signs, neither of which costs a wake-up of the processor: the kernel tells that the clock
// of the day has jumped, which it does after sleep, and then the clock that counts sleep is found to have run ahead of
// the one that does not; and logind says so, where there is one.
class WakeWatch {
public:
    // `onWake` is called from the loop, once for each sleep. Throws std::runtime_error.
    WakeWatch(EventLoop& loop, std::function<void()> onWake);
    WakeWatch(const WakeWatch&) = delete;
    WakeWatch& operator=(const WakeWatch&) = delete;

private:
    using Clock = EventLoop::Clock;

    void Arm();
    void OnClockChange();
    void Tell();

    const std::function<void()> onWake_;
    std::chrono::nanoseconds slept_;  // since the machine was started
    Clock::time_point lastWake_;
    UniqueFd clock_;  // a timerfd
    EventLoop::Source clockChange_;
    LogindWatch logind_;
};

}  // namespace ZYNE::Linux
