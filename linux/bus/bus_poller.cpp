#include "linux/bus/bus_poller.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>

namespace ZYNE::Linux {
namespace {

int MillisecondsUntil(uint64_t deadline) {
    if (deadline == UINT64_MAX) {
        return -1;
    }
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto left = std::chrono::microseconds(deadline) - std::chrono::duration_cast<std::chrono::microseconds>(now);
    constexpr int64_t MAX_WAIT_MS = 3'600'000;
    return static_cast<int>(
        std::clamp<int64_t>(std::chrono::ceil<std::chrono::milliseconds>(left).count(), 0, MAX_WAIT_MS));
}

}  // namespace

BusPoller::BusPoller() : wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

void BusPoller::Wait(const BusInterest& interest) {
    std::array<pollfd, 2> files{{{interest.fd, static_cast<short>(interest.events), 0}, {wake_.Get(), POLLIN, 0}}};
    poll(files.data(), files.size(), MillisecondsUntil(interest.deadline));
    if ((files[1].revents & POLLIN) != 0) {
        eventfd_t count = 0;
        eventfd_read(wake_.Get(), &count);
    }
}

void BusPoller::Wake() {
    eventfd_write(wake_.Get(), 1);
}

}  // namespace ZYNE::Linux
