// Finds out what state this device's screen is in: from the desktop where there is one, else from whoever sets it.
//
//     ScreenState::Get().Start([](ScreenStatus status) { Fabric::GetInstance().SetScreenStatus(status); });
//
// The desktop is the one on the session bus that the environment names: its screen saver (org.freedesktop.ScreenSaver)
// tells whether it covers the screen, which counts as off. The desktop may start, end and start again meanwhile.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

#include "linux/bus/bus_handles.h"
#include "linux/bus/bus_poller.h"
#include "linux/desktop/screen_status.h"

namespace ZYNE::Linux {

// Any thread. One of its own follows the desktop and calls the handler.
class ScreenState {
public:
    // Is told the status when it is known first and whenever it has changed. On one thread, with no lock held; must not
    // call Start or Stop. While it runs, changes are not followed; then the present one is told.
    using Handler = std::function<void(ScreenStatus status)>;

    // How soon a session bus that is not there, or has gone, is looked for again.
    static constexpr std::chrono::seconds RETRY_TIME{10};

    // The process's screen; never destroyed.
    static ScreenState& Get();

    explicit ScreenState(std::chrono::milliseconds retryTime = RETRY_TIME) : retryTime_(retryTime) {}
    ScreenState(const ScreenState&) = delete;
    ScreenState& operator=(const ScreenState&) = delete;
    ~ScreenState() { Stop(); }

    // Does not wait for a desktop, and needs none. Does nothing when it has been started. Throws std::system_error when
    // there is no further thread.
    void Start(Handler handler);

    // When it returns the handler is not called any more.
    void Stop();

    // From now on the status is `status`, whatever the desktop says. SCREEN_UNKNOWN leaves it to the desktop again.
    // Before Start as well.
    void Set(ScreenStatus status);

private:
    using Clock = std::chrono::steady_clock;

    void Run();
    void Tell();
    void Connect();
    void WaitForChange();
    bool Ask();
    static int OnActiveChanged(sd_bus_message* message, void* self, sd_bus_error* error);
    static int OnOwnerChanged(sd_bus_message* message, void* self, sd_bus_error* error);
    static int OnAnswer(sd_bus_message* message, void* self, sd_bus_error* error);

    const std::chrono::milliseconds retryTime_;
    std::atomic<ScreenStatus> set_ = SCREEN_UNKNOWN;
    std::atomic<bool> stopping_ = false;
    BusPoller poller_;

    // The thread's own while it runs.
    Handler handler_;
    BusHandle bus_;  // null while there is no session bus
    Clock::time_point nextTry_;
    ScreenStatus desktop_ = SCREEN_UNKNOWN;
    ScreenStatus told_ = SCREEN_UNKNOWN;

    std::mutex mutex_;    // one start or stop at a time
    std::thread thread_;  // guarded by mutex_
};

}  // namespace ZYNE::Linux
