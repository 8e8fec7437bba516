#include "linux/bus/bus_connection.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <poll.h>

#include "linux/base/guarded_call.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr int MOST_AT_ONCE = 32;  // messages taken before others on the loop get their turn

// Until the time that sd-bus tells as microseconds of the steady clock.
std::chrono::milliseconds TimeUntil(uint64_t due) {
    const auto now = std::chrono::ceil<std::chrono::microseconds>(EventLoop::Clock::now().time_since_epoch());
    return std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(std::chrono::microseconds(due) - now));
}

int OnSignal(sd_bus_message* message, void* handler, sd_bus_error* /*error*/) {
    GuardedCall("a signal's handler", [&] { (*static_cast<BusConnection::Handler*>(handler))(message); });
    return 0;
}

}  // namespace

BusSlot::BusSlot(std::shared_ptr<BusConnection> connection, sd_bus_slot* slot, std::shared_ptr<void> handler)
    : connection_(std::move(connection)), slot_(slot), handler_(std::move(handler)) {}

BusSlot::BusSlot(BusSlot&& other) noexcept
    : connection_(std::move(other.connection_)), slot_(std::exchange(other.slot_, nullptr)),
      handler_(std::move(other.handler_)) {}

BusSlot& BusSlot::operator=(BusSlot&& other) noexcept {
    if (this != &other) {
        End();
        connection_ = std::move(other.connection_);
        slot_ = std::exchange(other.slot_, nullptr);
        handler_ = std::move(other.handler_);
    }
    return *this;
}

void BusSlot::End() {
    if (connection_) {
        const std::scoped_lock lock(connection_->mutex_);
        slot_ = sd_bus_slot_unref(slot_);
    }
    connection_.reset();
    handler_.reset();
}

std::shared_ptr<BusConnection> BusConnection::Make(EventLoop& loop, BusHandle bus) {
    const std::shared_ptr<BusConnection> made(new BusConnection(loop, std::move(bus)));
    if (loop.IsLoopThread()) {
        made->Begin();
    } else {
        loop.Run([&] { made->Begin(); });
    }
    return made;
}

void BusConnection::Begin() {
    const std::weak_ptr<BusConnection> weak = weak_from_this();
    arrival_ = loop_.Watch(sd_bus_get_fd(bus_.get()), POLLIN, [weak](uint32_t) {
        if (const std::shared_ptr<BusConnection> self = weak.lock()) {
            self->Work();
        }
    });
    Work();  // what has come before
}

void BusConnection::Work() {
    int result = 1;
    for (int i = 0; i < MOST_AT_ONCE && result > 0; ++i) {
        const std::scoped_lock lock(mutex_);
        result = bus_ ? sd_bus_process(bus_.get(), nullptr) : -ENOTCONN;
    }
    if (result >= 0) {
        Await();
        return;
    }
    arrival_ = {};
    timer_ = {};
    const std::scoped_lock lock(mutex_);
    bus_.reset();
}

void BusConnection::Await() {
    uint64_t due = UINT64_MAX;
    {
        const std::scoped_lock lock(mutex_);
        arrival_.SetEvents(static_cast<uint32_t>(std::max(0, sd_bus_get_events(bus_.get()))));
        sd_bus_get_timeout(bus_.get(), &due);
    }
    timer_ = {};
    if (due != UINT64_MAX) {
        timer_ = loop_.After(TimeUntil(due), [weak = weak_from_this()] {
            if (const std::shared_ptr<BusConnection> self = weak.lock()) {
                self->Work();
            }
        });
    }
}

int BusConnection::Use(const std::function<int(sd_bus*)>& use) {
    int result = -ENOTCONN;
    bool hasMore = false;
    {
        const std::scoped_lock lock(mutex_);
        if (bus_) {
            result = use(bus_.get());
            uint64_t toRead = 0;
            uint64_t toWrite = 0;
            sd_bus_get_n_queued_read(bus_.get(), &toRead);
            sd_bus_get_n_queued_write(bus_.get(), &toWrite);
            hasMore = toRead > 0 || toWrite > 0;
        }
    }
    if (hasMore) {
        loop_.Post([weak = weak_from_this()] {
            if (const std::shared_ptr<BusConnection> self = weak.lock(); self && self->arrival_) {
                self->Work();
            }
        });
    }
    return result;
}

BusSlot BusConnection::Listen(
    const std::string& path, const std::string& interface, const std::string& member, Handler handler) {
    auto kept = std::make_shared<Handler>(std::move(handler));
    sd_bus_slot* slot = nullptr;
    const int result = Use([&](sd_bus* bus) {
        return sd_bus_match_signal(
            bus, &slot, nullptr, path.c_str(), interface.c_str(), member.c_str(), &OnSignal, kept.get());
    });
    if (result < 0) {
        throw std::runtime_error("cannot listen on the bus: " + std::generic_category().message(-result));
    }
    return {shared_from_this(), slot, std::move(kept)};
}

BusSlot BusConnection::ListenForEnd(std::function<void()> handler) {
    return Listen(
        LOCAL_PATH, LOCAL_INTERFACE, DISCONNECTED, [handler = std::move(handler)](sd_bus_message*) { handler(); });
}

bool BusConnection::Send(const std::string& path, const std::string& interface, const std::string& member,
    const std::function<int(sd_bus_message*)>& write, std::string& error) {
    const int result = Use([&](sd_bus* bus) {
        sd_bus_message* raw = nullptr;
        int done = sd_bus_message_new_signal(bus, &raw, path.c_str(), interface.c_str(), member.c_str());
        const MessageHandle message(raw);
        if (done >= 0) {
            done = write(raw);
        }
        if (done >= 0) {
            done = sd_bus_send(bus, raw, nullptr);
        }
        return done >= 0 ? sd_bus_flush(bus) : done;
    });
    if (result < 0) {
        error = result == -ENOTCONN ? "the bus is not there" : std::generic_category().message(-result);
    }
    return result >= 0;
}

std::string BusConnection::GetUniqueName() {
    std::string name;
    Use([&](sd_bus* bus) {
        const char* text = nullptr;
        const int result = sd_bus_get_unique_name(bus, &text);
        name = result >= 0 ? text : "";
        return result;
    });
    return name;
}

bool BusConnection::IsUp() {
    return Use([](sd_bus* bus) { return sd_bus_is_open(bus) > 0 ? 0 : -ENOTCONN; }) >= 0;
}

void BusConnection::Close() {
    if (isClosed_.exchange(true)) {
        return;
    }
    const auto leave = [this] {
        arrival_ = {};
        timer_ = {};
    };
    if (loop_.IsLoopThread()) {
        leave();
    } else {
        loop_.Run(leave);
    }
    const std::scoped_lock lock(mutex_);
    bus_.reset();
}

}  // namespace ZYNE::Linux
