#include "linux/network/discovery/logind_watch.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

#include <poll.h>

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr auto RETRY_TIME = 60s;
constexpr int MOST_AT_ONCE = 32;  // messages taken before others on the loop get their turn

// Until the time that sd-bus tells as microseconds of the steady clock.
std::chrono::milliseconds TimeUntil(uint64_t due) {
    const auto now = std::chrono::ceil<std::chrono::microseconds>(EventLoop::Clock::now().time_since_epoch());
    const auto wait = std::chrono::microseconds(due) - now;
    return std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(wait));
}

}  // namespace

LogindWatch::LogindWatch(EventLoop& loop, std::function<void()> onWake) : loop_(loop), onWake_(std::move(onWake)) {
    Connect();
}

// Nothing here waits: what is asked of the bus is answered later.
void LogindWatch::Connect() {
    sd_bus* bus = nullptr;
    if (sd_bus_open_system(&bus) < 0) {
        return;
    }
    bus_.reset(bus);
    if (sd_bus_match_signal_async(bus, nullptr, "org.freedesktop.login1", "/org/freedesktop/login1",
            "org.freedesktop.login1.Manager", "PrepareForSleep", &LogindWatch::OnPrepareForSleep, nullptr, this) < 0) {
        bus_.reset();
        return;
    }
    arrival_ = loop_.Watch(sd_bus_get_fd(bus), POLLIN, [this](uint32_t) { Process(); });
    WaitForMore();
}

void LogindWatch::Process() {
    int result = 1;
    for (int i = 0; i < MOST_AT_ONCE && result > 0; ++i) {
        result = sd_bus_process(bus_.get(), nullptr);
    }
    if (result >= 0) {
        WaitForMore();
    } else {
        arrival_ = {};
        bus_.reset();
        timer_ = loop_.After(RETRY_TIME, [this] { Connect(); });
    }
    if (std::exchange(hasWoken_, false)) {
        onWake_();
    }
}

void LogindWatch::WaitForMore() {
    arrival_.SetEvents(static_cast<uint32_t>(std::max(0, sd_bus_get_events(bus_.get()))));
    timer_ = {};
    uint64_t due = UINT64_MAX;
    if (sd_bus_get_timeout(bus_.get(), &due) >= 0 && due != UINT64_MAX) {
        timer_ = loop_.After(TimeUntil(due), [this] { Process(); });
    }
}

int LogindWatch::OnPrepareForSleep(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    int isGoingToSleep = 0;
    if (sd_bus_message_read(message, "b", &isGoingToSleep) >= 0 && isGoingToSleep == 0) {
        static_cast<LogindWatch*>(self)->hasWoken_ = true;
    }
    return 0;
}

}  // namespace ZYNE::Linux
