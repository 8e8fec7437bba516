// A connection to a bus, read by an event loop: for the signals that this process hears and sends, and for what it
// serves.
//
//     auto connection = BusConnection::Make(loop, OpenBus(address));
//     const BusSlot slot = connection->Listen("/org/example/Bell", "org.example.Bell", "Rang", [](auto*) { ... });
//     connection->Send("/org/example/Bell", "org.example.Bell", "Rang", [](sd_bus_message*) { return 0; }, error);
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "linux/base/event_loop.h"
#include "linux/base/mutex.h"
#include "linux/bus/bus_handles.h"
#include "linux/bus/bus_pump.h"

namespace ZYNE::Linux {

class BusConnection;

// What the connection does until this is destroyed: after that no handler runs. Any thread.
class BusSlot {
public:
    BusSlot() = default;
    BusSlot(std::shared_ptr<BusConnection> connection, sd_bus_slot* slot, std::shared_ptr<void> handler);
    BusSlot(BusSlot&& other) noexcept;
    BusSlot& operator=(BusSlot&& other) noexcept;
    ~BusSlot() { End(); }

    // Does nothing the second time.
    void End();

private:
    std::shared_ptr<BusConnection> connection_;
    sd_bus_slot* slot_ = nullptr;
    std::shared_ptr<void> handler_;
};

// Any thread. Handlers are called on the loop's thread, one at a time. What one sender sent they hear in its order. The
// connection is locked meanwhile: they must be quick and must not use it.
class BusConnection : public std::enable_shared_from_this<BusConnection> {
public:
    // What sd-bus sends to itself when the bus is gone.
    static constexpr char LOCAL_PATH[] = "/org/freedesktop/DBus/Local";
    static constexpr char LOCAL_INTERFACE[] = "org.freedesktop.DBus.Local";
    static constexpr char DISCONNECTED[] = "Disconnected";

    using Handler = std::function<void(sd_bus_message* message)>;

    // `loop` reads it from now on, and must live until the connection is closed.
    static std::shared_ptr<BusConnection> Make(EventLoop& loop, BusHandle bus);
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;
    // Closes.
    ~BusConnection() { Close(); }

    // Runs `use` with the connection locked and returns its result, or -ENOTCONN when the connection has ended.
    int Use(const std::function<int(sd_bus* bus)>& use);

    // Calls `handler` for each such signal that anyone sends after this has returned. Throws std::runtime_error.
    [[nodiscard]] BusSlot Listen(
        const std::string& path, const std::string& interface, const std::string& member, Handler handler);
    // Calls `handler` once the bus is gone. Throws std::runtime_error.
    [[nodiscard]] BusSlot ListenForEnd(std::function<void()> handler);

    // Returns when the bus has taken the signal. `write` adds its arguments and returns a negative error number when it
    // cannot. False, with the reason in `error`, when the signal was not sent.
    bool Send(const std::string& path, const std::string& interface, const std::string& member,
        const std::function<int(sd_bus_message*)>& write, std::string& error);

    // Empty when the bus is gone.
    std::string GetUniqueName();
    bool IsUp();

    // Leaves the bus. Nothing is heard or sent after this. Not in a handler. Does nothing the second time.
    void Close();

private:
    friend class BusSlot;

    BusConnection(EventLoop& loop, BusHandle bus) : loop_(loop), bus_(std::move(bus)) {}
    int Process();
    BusInterest GetInterest();

    EventLoop& loop_;
    std::atomic<bool> isClosed_ = false;
    Mutex mutex_;                       // held for each call into sd-bus
    BusHandle bus_ GUARDED_BY(mutex_);  // and so are its messages; null once closed or gone

    std::unique_ptr<BusPump> pump_;  // the loop's thread alone
};

}  // namespace ZYNE::Linux
