#include "linux/desktop/screen_state.h"

#include <deque>
#include <string>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/bus/bus_names.h"
#include "linux/desktop/screen_saver.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::SCREEN;

// What the bus tells when a screen saver comes or goes.
std::string OwnerChanges() {
    const std::string bus = MessageBus::NAME;
    return "type='signal',sender='" + bus + "',interface='" + bus + "',member='NameOwnerChanged',arg0='" +
        ScreenSaver::NAME + "'";
}

ScreenStatus ReadStatus(sd_bus_message* message) {
    int isActive = 0;
    if (sd_bus_message_read(message, "b", &isActive) <= 0) {
        return SCREEN_UNKNOWN;
    }
    return isActive != 0 ? SCREEN_OFF : SCREEN_ON;
}

}  // namespace

void ScreenState::Start(EventLoop& loop, Handler handler) {
    const MutexLock starting(mutex_);
    if (loop_) {
        return;
    }
    loop_ = &loop;
    loop.Run([&] {
        ownLoop_ = &loop;
        handler_ =
            Mailbox<ScreenStatus>::Make(pool_, [told = std::move(handler)](ScreenStatus status) { told(status); },
                {.join = [](std::deque<ScreenStatus>& waiting, ScreenStatus next) {
                    if (!waiting.empty()) {
                        waiting.back() = next;
                    }
                    return !waiting.empty();
                }});
        told_ = SCREEN_UNKNOWN;
        Connect();
        Tell();
    });
}

void ScreenState::Stop() {
    const MutexLock stopping(mutex_);
    EventLoop* const loop = std::exchange(loop_, nullptr);
    if (!loop) {
        return;
    }
    loop->Run([this] {
        retry_ = {};
        bus_.reset();
        desktop_ = SCREEN_UNKNOWN;
    });
    if (handler_) {
        handler_->CloseAndWait();
    }
}

void ScreenState::Set(ScreenStatus status) {
    set_ = status;
    const MutexLock lock(mutex_);
    if (loop_) {
        loop_->Run([this] { Tell(); });
    }
}

void ScreenState::Tell() {
    const ScreenStatus set = set_;
    const ScreenStatus status = set != SCREEN_UNKNOWN ? set : desktop_;
    if (told_.exchange(status) != status) {
        LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the screen's status is %{public}d", status);
        handler_->Post(status);
    }
}

// Nothing here waits: the bus answers later.
void ScreenState::Connect() {
    sd_bus* raw = nullptr;
    if (sd_bus_open_user(&raw) >= 0) {
        bus_ = BusConnection::Make(*ownLoop_, BusHandle(raw));
    }
    const bool isFollowed = bus_ && bus_->Use([this](sd_bus* bus) { return Follow(bus); }) >= 0;
    if (!isFollowed) {
        Retry();
    }
}

void ScreenState::Retry() {
    retry_ = ownLoop_->After(retryTime_, [this] {
        bus_.reset();
        Connect();
    });
}

// Asks for changes before it asks for the state, so that none is missed in between.
int ScreenState::Follow(sd_bus* bus) {
    int result = sd_bus_match_signal_async(bus, nullptr, ScreenSaver::NAME, nullptr, ScreenSaver::NAME, "ActiveChanged",
        &ScreenState::OnActiveChanged, nullptr, this);
    if (result >= 0) {
        result =
            sd_bus_add_match_async(bus, nullptr, OwnerChanges().c_str(), &ScreenState::OnOwnerChanged, nullptr, this);
    }
    if (result >= 0) {
        result = sd_bus_match_signal_async(bus, nullptr, nullptr, BusConnection::LOCAL_PATH,
            BusConnection::LOCAL_INTERFACE, BusConnection::DISCONNECTED, &ScreenState::OnEnd, nullptr, this);
    }
    return result >= 0 ? Ask(bus) : result;
}

// The screen saver answers at one of its paths. It is not started for this.
int ScreenState::Ask(sd_bus* bus) {
    int result = 0;
    for (const char* path : ScreenSaver::PATHS) {
        sd_bus_message* raw = nullptr;
        result = result >= 0
            ? sd_bus_message_new_method_call(bus, &raw, ScreenSaver::NAME, path, ScreenSaver::NAME, "GetActive")
            : result;
        const MessageHandle question(raw);
        result = result >= 0 ? sd_bus_message_set_auto_start(raw, 0) : result;
        result = result >= 0 ? sd_bus_call_async(bus, nullptr, raw, &ScreenState::OnAnswer, this, 0) : result;
    }
    return result;
}

void ScreenState::SetDesktop(ScreenStatus status) {
    desktop_ = status;
    Tell();
}

int ScreenState::OnActiveChanged(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    static_cast<ScreenState*>(self)->SetDesktop(ReadStatus(message));
    return 0;
}

int ScreenState::OnOwnerChanged(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    auto* state = static_cast<ScreenState*>(self);
    state->SetDesktop(SCREEN_UNKNOWN);
    state->Ask(sd_bus_message_get_bus(message));
    return 0;
}

int ScreenState::OnEnd(sd_bus_message* /*message*/, void* self, sd_bus_error* /*error*/) {
    auto* state = static_cast<ScreenState*>(self);
    state->SetDesktop(SCREEN_UNKNOWN);
    state->Retry();
    return 0;
}

int ScreenState::OnAnswer(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_error(message, nullptr) == 0) {
        static_cast<ScreenState*>(self)->SetDesktop(ReadStatus(message));
    }
    return 0;
}

}  // namespace ZYNE::Linux
