#include "linux/bus/bus_connection.h"

#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "linux/base/guarded_call.h"

namespace ZYNE::Linux {
namespace {

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
        const MutexLock lock(connection_->mutex_);
        slot_ = sd_bus_slot_unref(slot_);
    }
    connection_.reset();
    handler_.reset();
}

std::shared_ptr<BusConnection> BusConnection::Make(EventLoop& loop, BusHandle bus) {
    std::shared_ptr<BusConnection> made(new BusConnection(loop, std::move(bus)));
    const auto begin = [&] {
        made->pump_ = std::make_unique<BusPump>(loop,
            BusPump::Connection{[self = made.get()] { return self->Process(); },
                [self = made.get()] {
                    return self->GetInterest();
                }});
    };
    if (loop.IsLoopThread()) {
        begin();
    } else {
        loop.Run(begin);
    }
    return made;
}

int BusConnection::Process() {
    const MutexLock lock(mutex_);
    const int result = bus_ ? sd_bus_process(bus_.get(), nullptr) : -ENOTCONN;
    if (result < 0) {
        bus_.reset();
    }
    return result;
}

BusInterest BusConnection::GetInterest() {
    const MutexLock lock(mutex_);
    BusInterest interest;
    interest.fd = sd_bus_get_fd(bus_.get());
    interest.events = sd_bus_get_events(bus_.get());
    sd_bus_get_timeout(bus_.get(), &interest.deadline);
    return interest;
}

int BusConnection::Use(const std::function<int(sd_bus*)>& use) {
    int result = -ENOTCONN;
    bool hasMore = false;
    {
        const MutexLock lock(mutex_);
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
            if (const std::shared_ptr<BusConnection> self = weak.lock(); self && self->pump_) {
                self->pump_->Work();
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
        pump_.reset();
    };
    if (loop_.IsLoopThread()) {
        leave();
    } else {
        loop_.Run(leave);
    }
    const MutexLock lock(mutex_);
    bus_.reset();
}

}  // namespace ZYNE::Linux
