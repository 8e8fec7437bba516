#include "linux/bus/bus_pump.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

#include <poll.h>

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr int MAX_AT_ONCE = 32;  // messages handled before others on the loop get their turn

std::chrono::milliseconds TimeUntil(uint64_t deadline) {
    const auto now = std::chrono::ceil<std::chrono::microseconds>(EventLoop::Clock::now().time_since_epoch());
    return std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(std::chrono::microseconds(deadline) - now));
}

}  // namespace

BusPump::BusPump(EventLoop& loop, Connection connection) : loop_(loop), connection_(std::move(connection)) {
    arrival_ = loop_.Watch(connection_.interest().fd, POLLIN, [this](uint32_t) { Work(); });
    timer_ = loop_.After(0ms, [this] { Work(); });  // what came before
}

void BusPump::Work() {
    int result = hasEnded_ ? -1 : 1;
    for (int i = 0; i < MAX_AT_ONCE && result > 0; ++i) {
        result = connection_.process();
    }
    if (result >= 0) {
        Await();
        return;
    }
    hasEnded_ = true;
    arrival_ = {};
    timer_ = {};
}

void BusPump::Await() {
    const BusInterest interest = connection_.interest();
    arrival_.SetEvents(static_cast<uint32_t>(std::max(0, interest.events)));
    timer_ = {};
    if (interest.deadline != UINT64_MAX) {
        timer_ = loop_.After(TimeUntil(interest.deadline), [this] { Work(); });
    }
}

}  // namespace ZYNE::Linux
