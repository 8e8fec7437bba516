// Reads the X server's input and displays for as long as somebody wants them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "linux/base/mutex.h"
#include "linux/base/unique_fd.h"
#include "linux/desktop/display_table.h"
#include "linux/desktop/input_monitors.h"
#include "linux/desktop/x_attempt.h"
#include "linux/desktop/x_connection.h"

namespace ZYNE::Linux {

// Any thread, unless said otherwise. One thread of its own, which sleeps while nothing happens.
//
// What happens within three milliseconds after a delivery is delivered together when they are over. That limits the
// cost of a fast mouse, and nobody sees a difference.
class XInputSource {
public:
    XInputSource(DisplayTable& displays, InputMonitors& monitors) : displays_(displays), monitors_(monitors) {}
    XInputSource(const XInputSource&) = delete;
    XInputSource& operator=(const XInputSource&) = delete;
    ~XInputSource() { Stop(); }

    // For one thread, as Stop. `display` as in InputOptions. Throws std::system_error.
    void Start(const std::string& display);
    // Does not wait for a server.
    void Stop();

    // While it is wanted, it connects, and connects again when the connection is lost. Does nothing when not started.
    void SetWanted(bool isWanted);

    // Waits, for `limit` at most, until the first attempt to connect since it became wanted has ended: what happens
    // after that is delivered. Returns at once when it is not wanted.
    void AwaitAttempt(std::chrono::milliseconds limit);

private:
    using Clock = std::chrono::steady_clock;
    class ConnectionMark;

    void Run();
    bool IsRunning();
    bool IsWanted();
    bool EndAttempt();
    // False when there is no connection, or it was lost.
    bool ServeWhileWanted() noexcept;
    // Null when it is no longer wanted. Throws std::exception when there is no connection yet.
    std::unique_ptr<XConnection> Open();
    void WaitUntilWanted();
    bool Serve(XConnection& connection);
    bool TellBurst(XConnection& connection, EventAssembler& assembler);
    void LogTrouble(const char* trouble);
    void SetConnection(int fd);
    // Waits until there is something to read, the time is over, or something has changed.
    void Wait(int fd, std::optional<Clock::duration> limit);

    DisplayTable& displays_;
    InputMonitors& monitors_;
    std::string display_;  // written while there is no thread
    UniqueFd wake_;        // likewise
    std::string trouble_;  // why there is no connection, as it was logged; the thread's while there is one
    // The attempt under way, even when nobody wants it any more: there is only one thread for it at a time. Likewise.
    std::shared_ptr<XAttempt> attempt_;
    std::thread thread_;

    Mutex mutex_;
    std::condition_variable attemptEnded_;  // hasTried_ has become true, or nobody waits any more
    bool isRunning_ GUARDED_BY(mutex_) = false;
    bool isWanted_ GUARDED_BY(mutex_) = false;
    bool hasTried_ GUARDED_BY(mutex_) = false;  // the server was tried since it became wanted
    int connection_ GUARDED_BY(mutex_) = -1;    // the descriptor of the connection, while there is one
};

}  // namespace ZYNE::Linux
