#include "linux/desktop/screen_inhibitor.h"

#include <fcntl.h>
#include <poll.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <utility>

#include "linux/bus/bus_address.h"
#include "linux/bus/bus_names.h"
#include "linux/desktop/screen_saver.h"

namespace ZYNE::Linux {
namespace {

// To connect, and for each call. A desktop that is awake takes a few milliseconds.
constexpr std::chrono::seconds ANSWER_TIME{1};

std::string FromEnvironment(const char* name, const std::string& byDefault) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : byDefault;
}

BusHandle OpenForCalls(const std::string& address) {
    BusHandle bus = OpenBus(address, ANSWER_TIME);
    sd_bus_set_method_call_timeout(bus.get(), std::chrono::microseconds(ANSWER_TIME).count());
    return bus;
}

// Whether the call may still be carried out, or the bus is gone.
bool IsUnsettled(int result) {
    return result == -ETIMEDOUT || result == -ECONNRESET || result == -ENOTCONN || result == -EPIPE;
}

}  // namespace

PowerBuses PowerBuses::OfUser() {
    const std::filesystem::path runtime = FromEnvironment("XDG_RUNTIME_DIR", "");
    std::error_code ignored;
    const bool hasBus = !runtime.empty() && std::filesystem::exists(BusSocket(runtime), ignored);
    return {FromEnvironment("DBUS_SESSION_BUS_ADDRESS", hasBus ? BusAddress(runtime) : ""),
        FromEnvironment("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/run/dbus/system_bus_socket")};
}

ScreenInhibitor::ScreenInhibitor(PowerBuses buses) : buses_(std::move(buses)) {}

std::unique_ptr<ScreenInhibitor::Inhibition> ScreenInhibitor::Inhibit(const std::string& reason, std::string& error) {
    std::unique_ptr<Inhibition> inhibition = AskScreenSaver(reason, error);
    if (!inhibition) {
        std::string loginError;
        inhibition = AskLoginManager(reason, loginError);
        error += "; " + loginError;
    }
    return inhibition;
}

bool ScreenInhibitor::Connect(std::string& error) {
    if (session_ && IsConnected(session_.get())) {
        return true;
    }
    session_.reset();
    if (buses_.session.empty()) {
        error = "there is no session bus";
        return false;
    }
    try {
        session_ = OpenForCalls(buses_.session);
        ++connection_;
        return true;
    } catch (const std::exception& failure) {
        error = failure.what();
        return false;
    }
}

std::unique_ptr<ScreenInhibitor::Inhibition> ScreenInhibitor::AskScreenSaver(
    const std::string& reason, std::string& error) {
    if (!Connect(error)) {
        return nullptr;
    }
    auto inhibition = std::make_unique<Inhibition>();
    inhibition->connection = connection_;
    inhibition->owner = AskOwner(session_.get(), ScreenSaver::NAME);
    if (inhibition->owner.empty()) {
        error = "there is no screen saver on the session bus";
        return nullptr;
    }
    for (const char* path : ScreenSaver::PATHS) {
        BusError refusal;
        sd_bus_message* raw = nullptr;
        const int result = sd_bus_call_method(session_.get(), inhibition->owner.c_str(), path, ScreenSaver::NAME,
            "Inhibit", refusal.Get(), &raw, "ss", program_invocation_short_name, reason.c_str());
        const MessageHandle reply(raw);
        if (result >= 0 && sd_bus_message_read(raw, "u", &inhibition->cookie) > 0) {
            inhibition->path = path;
            return inhibition;
        }
        error = "the screen saver: " + refusal.GetText();
        if (IsUnsettled(result)) {
            session_.reset();  // the screen saver drops the request with it, even if it takes it later
            return nullptr;
        }
    }
    return nullptr;
}

// Once the login manager has answered, the connection is no longer needed.
std::unique_ptr<ScreenInhibitor::Inhibition> ScreenInhibitor::AskLoginManager(
    const std::string& reason, std::string& error) const {
    try {
        const BusHandle bus = OpenForCalls(buses_.system);
        BusError refusal;
        sd_bus_message* raw = nullptr;
        const int result =
            sd_bus_call_method(bus.get(), LoginManager::NAME, LoginManager::PATH, LoginManager::INTERFACE, "Inhibit",
                refusal.Get(), &raw, "ssss", "idle", program_invocation_short_name, reason.c_str(), "block");
        const MessageHandle reply(raw);
        int fd = -1;  // the message's own
        if (result >= 0 && sd_bus_message_read(raw, "h", &fd) > 0) {
            auto inhibition = std::make_unique<Inhibition>();
            inhibition->fd = UniqueFd(fcntl(fd, F_DUPFD_CLOEXEC, 0));
            return inhibition->fd ? std::move(inhibition) : nullptr;
        }
        error = "the login manager: " + refusal.GetText();
    } catch (const std::exception& failure) {
        error = failure.what();
    }
    return nullptr;
}

bool ScreenInhibitor::IsHeld(const Inhibition& inhibition) {
    if (inhibition.fd) {
        pollfd file{inhibition.fd.Get(), 0, 0};
        return poll(&file, 1, 0) == 0;  // an error: the other end is closed
    }
    return session_ && inhibition.connection == connection_ && IsConnected(session_.get()) &&
        AskOwner(session_.get(), ScreenSaver::NAME) == inhibition.owner;
}

void ScreenInhibitor::Release(std::unique_ptr<Inhibition> inhibition) {
    if (inhibition->fd || !session_ || inhibition->connection != connection_) {
        return;
    }
    const int result = sd_bus_call_method(session_.get(), inhibition->owner.c_str(), inhibition->path.c_str(),
        ScreenSaver::NAME, "UnInhibit", nullptr, nullptr, "u", inhibition->cookie);
    if (IsUnsettled(result)) {
        session_.reset();  // the screen saver forgets the request with it
    }
}

}  // namespace ZYNE::Linux
