#include "linux/bus/bus_caller.h"

#include <cerrno>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

#include "linux/bus/bus_address.h"
#include "linux/bus/bus_names.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Linux {
namespace {

// When nobody owns the name, or the owner left before it answered, the bus itself answers with an error. Running out of
// time is a result of its own.
int ResultOf(int code, const BusError& error) {
    if (error.Is(SD_BUS_ERROR_NO_REPLY) || error.Is(SD_BUS_ERROR_SERVICE_UNKNOWN) ||
        error.Is(SD_BUS_ERROR_NAME_HAS_NO_OWNER) || error.Is(SD_BUS_ERROR_DISCONNECTED)) {
        return IRemoteObject::DEAD;
    }
    if (error.Is(SD_BUS_ERROR_LIMITS_EXCEEDED)) {
        return IRemoteObject::TOO_LARGE;
    }
    switch (code) {
    case -ETIMEDOUT:
        return IRemoteObject::TIMED_OUT;
    case -ECONNRESET:
    case -ENOTCONN:
    case -EPIPE:
        return IRemoteObject::DEAD;
    case -EMSGSIZE:
        return IRemoteObject::TOO_LARGE;
    default:
        return IRemoteObject::REFUSED;
    }
}

MessageHandle NewCall(sd_bus* bus, const BusMethod& method) {
    sd_bus_message* message = nullptr;
    const char* to = method.busName.empty() ? nullptr : method.busName.c_str();
    sd_bus_message_new_method_call(
        bus, &message, to, method.path.c_str(), method.interface.c_str(), method.name.c_str());
    return MessageHandle(message);
}

int CallFor(sd_bus* bus, const BusMethod& method, std::chrono::microseconds timeout, const BusCaller::Access& write,
    const BusCaller::Access& read, std::string* text) {
    const MessageHandle request = NewCall(bus, method);
    if (!request) {
        return IRemoteObject::REFUSED;
    }
    if (const int written = write(request.get()); written < 0) {
        return written == -EMSGSIZE ? IRemoteObject::TOO_LARGE : IRemoteObject::REFUSED;
    }
    BusError error;
    sd_bus_message* answer = nullptr;
    const int code = sd_bus_call(bus, request.get(), static_cast<uint64_t>(timeout.count()), error.Get(), &answer);
    const MessageHandle reply(answer);
    if (code < 0) {
        if (text != nullptr) {
            *text = error.GetText();
        }
        return ResultOf(code, error);
    }
    const int taken = read(reply.get());
    if (taken < 0) {
        return taken == -EMSGSIZE ? IRemoteObject::TOO_LARGE : IRemoteObject::BAD_MESSAGE;
    }
    return IRemoteObject::OK;
}

}  // namespace

BusMethod BusDaemonMethod(const std::string& name) {
    return {MessageBus::NAME, MessageBus::PATH, MessageBus::NAME, name};
}

BusCaller::BusCaller(std::string address) : address_(std::move(address)) {}

int BusCaller::Call(const BusMethod& method, std::chrono::microseconds timeout, const Access& write, const Access& read,
    std::string* error) noexcept {
    const auto deadline = Clock::now() + timeout;
    try {
        BusHandle bus = Borrow(deadline);
        if (!bus) {
            return IRemoteObject::DEAD;
        }
        const int result = CallOn(bus.get(), method, deadline, write, read, error);
        if (result != IRemoteObject::TIMED_OUT) {
            GiveBack(std::move(bus));
        }
        return result;
    } catch (const std::exception& failure) {
        if (error != nullptr) {
            *error = failure.what();
        }
        return Clock::now() < deadline ? IRemoteObject::DEAD : IRemoteObject::TIMED_OUT;
    }
}

int BusCaller::CallOn(sd_bus* bus, const BusMethod& method, Clock::time_point deadline, const Access& write,
    const Access& read, std::string* error) noexcept {
    const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - Clock::now());
    if (left.count() <= 0) {
        return IRemoteObject::TIMED_OUT;
    }
    try {
        return CallFor(bus, method, left, write, read, error);
    } catch (const std::bad_alloc&) {
        return IRemoteObject::TOO_LARGE;
    }
}

// What is dropped: late answers, signals, strangers' calls.
bool BusCaller::IsFitForNext(sd_bus* bus) {
    uint64_t queued = 0;
    while (sd_bus_get_n_queued_read(bus, &queued) >= 0 && queued > 0 && sd_bus_process(bus, nullptr) > 0) {
    }
    return sd_bus_is_open(bus) > 0;
}

BusHandle BusCaller::Borrow(Clock::time_point deadline) {
    {
        const MutexLock lock(mutex_);
        if (closed_) {
            return nullptr;
        }
        if (!idle_.empty()) {
            BusHandle bus = std::move(idle_.back());
            idle_.pop_back();
            return bus;
        }
    }
    return OpenBus(address_, std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()));
}

void BusCaller::GiveBack(BusHandle bus) {
    if (!IsFitForNext(bus.get())) {
        return;
    }
    const MutexLock lock(mutex_);
    if (!closed_ && idle_.size() < MAX_IDLE) {
        idle_.push_back(std::move(bus));
    }
}

void BusCaller::Close() {
    std::vector<BusHandle> idle;
    const MutexLock lock(mutex_);
    closed_ = true;
    idle.swap(idle_);
}

}  // namespace ZYNE::Linux
