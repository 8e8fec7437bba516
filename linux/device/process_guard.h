// Sees to it that the process ends when it is told to, and that it does not live on when its loop hangs.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace ZYNE::Linux {

class HangWatch;

// The main thread's, one in a process, made before any other thread: it blocks SIGTERM, SIGINT and SIGHUP for all of
// them, and takes them on a thread of its own, which depends on nobody.
class ProcessGuard {
public:
    struct Options {
        // When the process's loop came round last; any thread. It is asked until the process is told to stop.
        std::function<std::chrono::steady_clock::time_point()> lastRound;
        // After the first of the signals; then the process ends with status 1, whatever is stuck.
        std::chrono::milliseconds stopTime{4500};
        // A loop that has not come round for as long ends the process with SIGABRT, the log flushed: a service manager
        // starts it anew, and there can be a core. It is looked at every `step`.
        std::chrono::milliseconds patience{10000};
        std::chrono::milliseconds step{2500};
    };

    explicit ProcessGuard(Options options);
    ProcessGuard(const ProcessGuard&) = delete;
    ProcessGuard& operator=(const ProcessGuard&) = delete;
    // Its thread stays until the process ends, but asks for no round any more.
    ~ProcessGuard();

    // Returns when one of the signals has come, which may have been long ago.
    void WaitForStop() const;

private:
    struct Stop;
    static bool HasHung(const Options& options, Stop& stop, HangWatch& watch);
    static void Work(const Options& options, Stop& stop);

    const std::shared_ptr<Stop> stop_;
};

}  // namespace ZYNE::Linux
