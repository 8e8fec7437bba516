#include "linux/network/discovery/logind_watch.h"

#include <chrono>
#include <utility>

#include "linux/bus/bus_names.h"

namespace ZYNE::Linux {
namespace {

constexpr std::chrono::seconds RETRY_TIME{60};

}  // namespace

LogindWatch::LogindWatch(EventLoop& loop, std::function<void()> onWake) : loop_(loop), onWake_(std::move(onWake)) {
    Connect();
}

// Nothing here waits: what is asked of the bus is answered later.
void LogindWatch::Connect() {
    sd_bus* raw = nullptr;
    if (sd_bus_open_system(&raw) < 0) {
        return;
    }
    bus_ = BusConnection::Make(loop_, BusHandle(raw));
    const int result = bus_->Use([this](sd_bus* bus) {
        const int followed = sd_bus_match_signal_async(bus, nullptr, LoginManager::NAME, LoginManager::PATH,
            LoginManager::INTERFACE, "PrepareForSleep", &LogindWatch::OnPrepareForSleep, nullptr, this);
        return followed < 0
            ? followed
            : sd_bus_match_signal_async(bus, nullptr, nullptr, BusConnection::LOCAL_PATH,
                  BusConnection::LOCAL_INTERFACE, BusConnection::DISCONNECTED, &LogindWatch::OnEnd, nullptr, this);
    });
    if (result < 0) {
        bus_.reset();
    }
}

int LogindWatch::OnPrepareForSleep(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    auto* watch = static_cast<LogindWatch*>(self);
    int isGoingToSleep = 0;
    if (sd_bus_message_read(message, "b", &isGoingToSleep) >= 0 && isGoingToSleep == 0) {
        watch->wake_ = watch->loop_.After(std::chrono::milliseconds(0), [watch] { watch->onWake_(); });
    }
    return 0;
}

int LogindWatch::OnEnd(sd_bus_message* /*message*/, void* self, sd_bus_error* /*error*/) {
    auto* watch = static_cast<LogindWatch*>(self);
    watch->retry_ = watch->loop_.After(RETRY_TIME, [watch] {
        watch->bus_.reset();
        watch->Connect();
    });
    return 0;
}

}  // namespace ZYNE::Linux
