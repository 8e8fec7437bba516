#include "linux/desktop/screen_state.h"

#include <utility>

#include "linux/base/log_domains.h"
#include "linux/base/run_task.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::SCREEN;

constexpr char SAVER[] = "org.freedesktop.ScreenSaver";  // its name on the bus, and its interface
constexpr char SAVER_PATH[] = "/org/freedesktop/ScreenSaver";
constexpr char OLD_SAVER_PATH[] = "/ScreenSaver";  // where some desktops have it alone
constexpr char OWNER_CHANGES[] = "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                                 "member='NameOwnerChanged',arg0='org.freedesktop.ScreenSaver'";

ScreenStatus ReadStatus(sd_bus_message* message) {
    int isActive = 0;
    if (sd_bus_message_read(message, "b", &isActive) <= 0) {
        return SCREEN_UNKNOWN;
    }
    return isActive != 0 ? SCREEN_OFF : SCREEN_ON;
}

}  // namespace

ScreenState& ScreenState::Get() {
    static auto& state = *new ScreenState();
    return state;
}

void ScreenState::Start(Handler handler) {
    const std::scoped_lock starting(mutex_);
    if (thread_.joinable()) {
        return;
    }
    handler_ = std::move(handler);
    stopping_ = false;
    told_ = SCREEN_UNKNOWN;
    nextTry_ = Clock::now();
    thread_ = std::thread([this] { Run(); });
}

void ScreenState::Stop() {
    const std::scoped_lock stopping(mutex_);
    stopping_ = true;
    poller_.Wake();
    if (thread_.joinable()) {
        thread_.join();
    }
    handler_ = nullptr;
}

void ScreenState::Set(ScreenStatus status) {
    set_ = status;
    poller_.Wake();
}

void ScreenState::Run() {
    while (!stopping_) {
        if (!bus_ && Clock::now() >= nextTry_) {
            nextTry_ = Clock::now() + retryTime_;
            Connect();
        }
        Tell();
        WaitForChange();
    }
    bus_.reset();
    desktop_ = SCREEN_UNKNOWN;
}

void ScreenState::Tell() {
    const ScreenStatus set = set_;
    const ScreenStatus status = set != SCREEN_UNKNOWN ? set : desktop_;
    if (std::exchange(told_, status) != status) {
        LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the screen's status is %{public}d", status);
        RunTask([&] { handler_(status); });
    }
}

// The changes are asked for before the state: none is missed in between.
void ScreenState::Connect() {
    sd_bus* raw = nullptr;
    if (sd_bus_open_user(&raw) < 0) {
        return;
    }
    bus_.reset(raw);
    const bool isFollowed = sd_bus_match_signal_async(raw, nullptr, SAVER, nullptr, SAVER, "ActiveChanged",
                                &ScreenState::OnActiveChanged, nullptr, this) >= 0 &&
        sd_bus_add_match_async(raw, nullptr, OWNER_CHANGES, &ScreenState::OnOwnerChanged, nullptr, this) >= 0 && Ask();
    if (!isFollowed) {
        bus_.reset();
    }
}

void ScreenState::WaitForChange() {
    if (!bus_) {
        const std::chrono::microseconds at = std::chrono::ceil<std::chrono::microseconds>(nextTry_.time_since_epoch());
        BusInterest nextTry;
        nextTry.deadline = static_cast<uint64_t>(at.count());
        poller_.Wait(nextTry);
    } else if (!poller_.Process(bus_.get())) {
        bus_.reset();
        desktop_ = SCREEN_UNKNOWN;
    }
}

// Answers at one of its places. It is not started for this.
bool ScreenState::Ask() {
    bool isAsked = true;
    for (const char* path : {SAVER_PATH, OLD_SAVER_PATH}) {
        sd_bus_message* raw = nullptr;
        const int result = sd_bus_message_new_method_call(bus_.get(), &raw, SAVER, path, SAVER, "GetActive");
        const MessageHandle question(raw);
        isAsked = isAsked && result >= 0 && sd_bus_message_set_auto_start(raw, 0) >= 0 &&
            sd_bus_call_async(bus_.get(), nullptr, raw, &ScreenState::OnAnswer, this, 0) >= 0;
    }
    return isAsked;
}

int ScreenState::OnActiveChanged(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    static_cast<ScreenState*>(self)->desktop_ = ReadStatus(message);
    return 0;
}

int ScreenState::OnOwnerChanged(sd_bus_message* /*message*/, void* self, sd_bus_error* /*error*/) {
    auto* state = static_cast<ScreenState*>(self);
    state->desktop_ = SCREEN_UNKNOWN;
    state->Ask();
    return 0;
}

int ScreenState::OnAnswer(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_error(message, nullptr) == 0) {
        static_cast<ScreenState*>(self)->desktop_ = ReadStatus(message);
    }
    return 0;
}

}  // namespace ZYNE::Linux
