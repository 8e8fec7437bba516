// Finds out the state of this device's screen: from the desktop if there is one, otherwise from whoever sets it.
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

#include "linux/base/event_loop.h"
#include "linux/base/mailbox.h"
#include "linux/base/mutex.h"
#include "linux/bus/bus_connection.h"
#include "linux/desktop/screen_status.h"

namespace ZYNE::Linux {

// Any thread. The desktop is followed on the loop's thread; the handler is called on one of the pool.
class ScreenState {
public:
    // Called with the status when it is first known and whenever it has changed. One call at a time, with no lock held;
    // must not call Start or Stop. If the status changes several times during a call, only the last one is told.
    using Handler = std::function<void(ScreenStatus status)>;

    // How soon a session bus that is missing is looked for again.
    static constexpr std::chrono::seconds RETRY_TIME{10};

    explicit ScreenState(ThreadPool& pool, std::chrono::milliseconds retryTime = RETRY_TIME)
        : pool_(pool), retryTime_(retryTime) {}
    ScreenState(const ScreenState&) = delete;
    ScreenState& operator=(const ScreenState&) = delete;
    ~ScreenState() { Stop(); }

    // Neither needs a desktop nor waits for one. Does nothing when it was started before.
    void Start(EventLoop& loop, Handler handler);

    // Once this has returned, the handler is not called.
    void Stop();

    // From now on the status is `status`, whatever the desktop says. SCREEN_UNKNOWN leaves it to the desktop again.
    // Before Start as well.
    void Set(ScreenStatus status);
    // As it was told last; SCREEN_UNKNOWN before that.
    ScreenStatus Get() const { return told_; }

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
    std::atomic<ScreenStatus> told_ = SCREEN_UNKNOWN;  // written on the loop's thread

    // The loop's thread alone.
    EventLoop* ownLoop_ = nullptr;
    std::shared_ptr<BusConnection> bus_;  // null while there is no session bus
    EventLoop::Source retry_;
    ScreenStatus desktop_ = SCREEN_UNKNOWN;
    std::shared_ptr<Mailbox<ScreenStatus>> handler_;

    Mutex mutex_;                                   // one start or stop at a time
    EventLoop* loop_ GUARDED_BY(mutex_) = nullptr;  // null while stopped
};

}  // namespace ZYNE::Linux
