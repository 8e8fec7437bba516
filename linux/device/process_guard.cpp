#include "linux/device/process_guard.h"

#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <poll.h>
#include <pthread.h>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>

#include "linux/base/hang_watch.h"
#include "linux/base/log_domains.h"
#include "linux/base/mutex.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::RUNTIME;
constexpr unsigned LAST_WORDS_SECONDS = 2;

sigset_t StopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGHUP);
    return signals;
}

// Whether a signal has come.
bool WaitForSignal(std::chrono::milliseconds limit) {
    const sigset_t signals = StopSignals();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const timespec time{seconds.count(), std::chrono::nanoseconds(limit - seconds).count()};
    return sigtimedwait(&signals, nullptr, &time) > 0;
}

// The log is flushed by std::terminate. The hanging thread may hold its lock, and standard error may be full: the alarm
// ends the process then.
[[noreturn]] void EndHanging() {
    std::signal(SIGALRM, [](int) { std::abort(); });
    alarm(LAST_WORDS_SECONDS);
    LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a loop of the device has not come round: the process ends itself");
    std::terminate();
}

[[noreturn]] void EndStuck() {
    constexpr std::string_view WORDS = "collabd: did not end in time after the signal: it is ended now\n";
    pollfd standardError{STDERR_FILENO, POLLOUT, 0};
    if (poll(&standardError, 1, 0) > 0) {  // nobody may be reading it
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, WORDS.data(), WORDS.size());
    }
    _exit(1);
}

}  // namespace

struct ProcessGuard::Stop {
    Mutex mutex;
    std::condition_variable called;
    bool isCalled GUARDED_BY(mutex) = false;
    bool isOver GUARDED_BY(mutex) = false;  // held while the round is asked for
};

ProcessGuard::ProcessGuard(Options options) : stop_(std::make_shared<Stop>()) {
    const sigset_t signals = StopSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([options = std::move(options), stop = stop_] { Work(options, *stop); }).detach();
}

ProcessGuard::~ProcessGuard() {
    const MutexLock lock(stop_->mutex);
    stop_->isOver = true;
}

bool ProcessGuard::HasHung(const Options& options, Stop& stop, HangWatch& watch) {
    const MutexLock lock(stop.mutex);
    return !stop.isOver && watch.Look(options.lastRound());
}

void ProcessGuard::Work(const Options& options, Stop& stop) {
    pthread_setname_np(pthread_self(), "collabd-guard");
    HangWatch watch(options.step, options.patience);
    while (!WaitForSignal(options.step)) {
        if (HasHung(options, stop, watch)) {
            EndHanging();
        }
    }
    {
        const MutexLock lock(stop.mutex);
        stop.isCalled = true;
    }
    stop.called.notify_all();
    std::this_thread::sleep_for(options.stopTime);
    EndStuck();
}

void ProcessGuard::WaitForStop() const {
    MutexLock lock(stop_->mutex);
    stop_->called.wait(lock, [this]() REQUIRES(stop_->mutex) { return stop_->isCalled; });
}

}  // namespace ZYNE::Linux
