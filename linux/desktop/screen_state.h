// Finds out what state this device's screen is in: from the desktop where there is one, else from whoever sets it.
//
//     ScreenState screen(pool);
//     screen.Start(loop, [&](ScreenStatus status) { fabric.SetScreenStatus(status); });
//
// The desktop is the one on the session bus that the environment names: its screen saver (org.freedesktop.ScreenSaver)
// tells whether it covers the screen, which counts as off. The desktop may start, end and start again meanwhile.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>

#include "linux/base/event_loop.h"
#include "linux/base/mailbox.h"
#include "linux/bus/bus_connection.h"
#include "linux/desktop/screen_status.h"

namespace ZYNE::Linux {

// Any thread. The desktop is followed on the loop's thread; the handler is called on one of the pool.
class ScreenState {
public:
    // Is told the status when it is known first and whenever it has changed. One call at a time, with no lock held; must
    // not call Start or Stop. Of changes while it runs the last one is told.
    using Handler = std::function<void(ScreenStatus status)>;

    // How soon a session bus that is not there, or has gone, is looked for again.
    static constexpr std::chrono::seconds RETRY_TIME{10};

    explicit ScreenState(ThreadPool& pool, std::chrono::milliseconds retryTime = RETRY_TIME)
        : pool_(pool), retryTime_(retryTime) {}
    ScreenState(const ScreenState&) = delete;
    ScreenState& operator=(const ScreenState&) = delete;
    ~ScreenState() { Stop(); }

    // Does not wait for a desktop, and needs none. Does nothing when it has been started.
    void Start(EventLoop& loop, Handler handler);

    // When it returns the handler is not called any more.
    void Stop();

    // From now on the status is `status`, whatever the desktop says. SCREEN_UNKNOWN leaves it to the desktop again.
    // Before Start as well.
    void Set(ScreenStatus status);

private:
    // All on the loop's thread.
    void Connect();
    int Follow(sd_bus* bus);
    void Retry();
    void SetDesktop(ScreenStatus status);
    void Tell();
    int Ask(sd_bus* bus);
    static int OnEnd(sd_bus_message* message, void* self, sd_bus_error* error);
    static int OnActiveChanged(sd_bus_message* message, void* self, sd_bus_error* error);
    static int OnOwnerChanged(sd_bus_message* message, void* self, sd_bus_error* error);
    static int OnAnswer(sd_bus_message* message, void* self, sd_bus_error* error);

    ThreadPool& pool_;
    const std::chrono::milliseconds retryTime_;
    std::atomic<ScreenStatus> set_ = SCREEN_UNKNOWN;

    // The loop's thread alone.
    EventLoop* ownLoop_ = nullptr;
    std::shared_ptr<BusConnection> bus_;  // null while there is no session bus
    EventLoop::Source retry_;
    ScreenStatus desktop_ = SCREEN_UNKNOWN;
    ScreenStatus told_ = SCREEN_UNKNOWN;
    std::shared_ptr<Mailbox<ScreenStatus>> handler_;

    std::mutex mutex_;           // one start or stop at a time
    EventLoop* loop_ = nullptr;  // guarded by mutex_; null while stopped
};

}  // namespace ZYNE::Linux
