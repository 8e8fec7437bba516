#include "linux/network/discovery/wake_watch.h"

#include <cerrno>
#include <ctime>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/timerfd.h>

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

// The clocks are not read at the same moment.
constexpr auto SHORTEST_SLEEP = 100ms;
// Both signs of one sleep come within this.
constexpr auto ONE_WAKE_TIME = 5s;

std::chrono::nanoseconds Read(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::chrono::nanoseconds ReadSlept() {
    return Read(CLOCK_BOOTTIME) - Read(CLOCK_MONOTONIC);
}

}  // namespace

WakeWatch::WakeWatch(EventLoop& loop, std::function<void()> onWake)
    : onWake_(std::move(onWake)), slept_(ReadSlept()), lastWake_(Clock::now() - ONE_WAKE_TIME),
      clock_(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)), logind_(loop, [this] { Tell(); }) {
    Arm();
    clockChange_ = loop.Watch(clock_.Get(), POLLIN, [this](uint32_t) { OnClockChange(); });
}

// The timer itself never comes to its end. ECANCELED: the clock jumped just before, and the timer is set all the same.
void WakeWatch::Arm() {
    itimerspec never{};
    never.it_value.tv_sec = std::numeric_limits<time_t>::max();
    if (timerfd_settime(clock_.Get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr) != 0 &&
        errno != ECANCELED) {
        throw std::runtime_error("the clock cannot be followed: " + std::generic_category().message(errno));
    }
}

void WakeWatch::OnClockChange() {
    uint64_t unused = 0;
    [[maybe_unused]] const ssize_t read = ::read(clock_.Get(), &unused, sizeof(unused));
    Arm();
    const std::chrono::nanoseconds slept = ReadSlept();
    if (slept - std::exchange(slept_, slept) >= SHORTEST_SLEEP) {
        Tell();
    }
}

void WakeWatch::Tell() {
    const Clock::time_point now = Clock::now();
    if (now - std::exchange(lastWake_, now) >= ONE_WAKE_TIME) {
        onWake_();
    }
}

}  // namespace ZYNE::Linux
