#include "linux/desktop/x_input_source.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <exception>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr LogDomain LOG = LogDomains::INPUT;
constexpr auto OPEN_LIMIT = 3s;  // after which the log says that the server does not answer
constexpr auto RETRY_INTERVAL = 2s;
constexpr auto BURST_INTERVAL = 3ms;

// XCB writes to the server as to any file: without this, a server that is gone would end the process.
void IgnoreBrokenPipe() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

// Makes the descriptor known for as long as it is open.
class XInputSource::ConnectionMark {
public:
    ConnectionMark(XInputSource& source, int fd) : source_(source) { source_.SetConnection(fd); }
    ConnectionMark(const ConnectionMark&) = delete;
    ConnectionMark& operator=(const ConnectionMark&) = delete;
    ~ConnectionMark() { source_.SetConnection(-1); }

private:
    XInputSource& source_;
};

void XInputSource::Start(const std::string& display) {
    Stop();
    display_ = display;
    trouble_.clear();
    wake_ = UniqueFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    const MutexLock lock(mutex_);
    thread_ = std::thread([this] { Run(); });
    isRunning_ = true;
}

void XInputSource::Stop() {
    if (!thread_.joinable()) {
        return;
    }
    {
        const MutexLock lock(mutex_);
        isRunning_ = isWanted_ = hasTried_ = false;
        eventfd_write(wake_.Get(), 1);
        // A server that no longer answers must not block the thread.
        if (connection_ >= 0) {
            shutdown(connection_, SHUT_RDWR);
        }
        attemptEnded_.notify_all();
    }
    thread_.join();
    attempt_ = nullptr;
}

void XInputSource::SetWanted(bool isWanted) {
    const MutexLock lock(mutex_);
    if (!isRunning_ || isWanted_ == isWanted) {
        return;
    }
    isWanted_ = isWanted;
    hasTried_ = false;
    eventfd_write(wake_.Get(), 1);
}

void XInputSource::AwaitAttempt(std::chrono::milliseconds limit) {
    MutexLock lock(mutex_);
    attemptEnded_.wait_for(lock, limit, [&]() REQUIRES(mutex_) { return hasTried_ || !isWanted_ || !isRunning_; });
}

void XInputSource::Run() {
    pthread_setname_np(pthread_self(), "collabd-input");
    IgnoreBrokenPipe();
    while (IsRunning()) {
        if (!IsWanted()) {
            WaitUntilWanted();
        } else if (!ServeWhileWanted() && EndAttempt()) {
            Wait(-1, RETRY_INTERVAL);
        }
    }
}

bool XInputSource::IsRunning() {
    const MutexLock lock(mutex_);
    return isRunning_;
}

bool XInputSource::IsWanted() {
    const MutexLock lock(mutex_);
    return isWanted_;
}

bool XInputSource::ServeWhileWanted() noexcept {
    bool isLost = true;
    try {
        const auto connection = Open();
        if (!connection) {
            return true;
        }
        const ConnectionMark mark(*this, connection->Fd());
        displays_.SetServer(connection->GetDisplays());
        trouble_.clear();
        LogPrint(LogType::CORE, LogLevel::INFO, LOG, "connected to the X server");
        isLost = !Serve(*connection);
        LogPrint(LogType::CORE, LogLevel::INFO, LOG, "%{public}s",
            isLost ? "the X server is gone" : "disconnected from the X server");
    } catch (const std::exception& error) {
        LogTrouble(error.what());
    }
    displays_.SetServer(std::nullopt);
    return !isLost;
}

std::unique_ptr<XConnection> XInputSource::Open() {
    if (!attempt_) {
        attempt_ = XAttempt::Begin(display_);
    }
    const auto deadline = Clock::now() + OPEN_LIMIT;
    while (!attempt_->IsOver()) {
        const auto now = Clock::now();
        if (!IsWanted()) {
            return nullptr;
        }
        if (now >= deadline) {
            throw std::runtime_error("the X server does not answer");
        }
        Wait(attempt_->Fd(), deadline - now);
    }
    return std::exchange(attempt_, nullptr)->Take();
}

void XInputSource::WaitUntilWanted() {
    Wait(attempt_ ? attempt_->Fd() : -1, std::nullopt);
    if (attempt_ && attempt_->IsOver() && !IsWanted()) {
        attempt_ = nullptr;
    }
}

// Logged once for attempts that fail alike.
void XInputSource::LogTrouble(const char* trouble) {
    if (trouble_ != trouble) {
        trouble_ = trouble;
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "%{public}s, it is tried again", trouble);
    }
}

bool XInputSource::Serve(XConnection& connection) {
    EventAssembler assembler(connection.Opening().pointer, connection.Opening().pressedButtons);
    auto next = Clock::now();
    while (EndAttempt()) {
        if (!connection.HasEvent()) {
            if (!connection.IsAlive()) {
                return false;
            }
            Wait(connection.Fd(), std::nullopt);
            continue;
        }
        if (const auto now = Clock::now(); now < next) {
            Wait(-1, next - now);
        }
        if (!TellBurst(connection, assembler)) {
            return false;
        }
        next = Clock::now() + BURST_INTERVAL;
    }
    return true;
}

bool XInputSource::TellBurst(XConnection& connection, EventAssembler& assembler) {
    XConnection::Burst burst;
    if (!connection.ReadBurst(burst)) {
        return false;
    }
    if (burst.displaysChanged) {
        displays_.SetServer(connection.GetDisplays());
    }
    for (const RawInput& input : burst.inputs) {
        assembler.Add(input);
    }
    monitors_.Deliver(assembler.Finish(burst.pointer, displays_.Locate(burst.pointer)));
    return true;
}

void XInputSource::SetConnection(int fd) {
    const MutexLock lock(mutex_);
    connection_ = fd;
    if (fd >= 0 && !isRunning_) {
        shutdown(fd, SHUT_RDWR);
    }
}

// Whether it is still wanted. It may have been unwanted for a moment, so waiters are notified each time.
bool XInputSource::EndAttempt() {
    const MutexLock lock(mutex_);
    if (isWanted_ && !hasTried_) {
        hasTried_ = true;
        attemptEnded_.notify_all();
    }
    return isWanted_;
}

void XInputSource::Wait(int fd, std::optional<Clock::duration> limit) {
    std::array<pollfd, 2> files{{{fd, POLLIN, 0}, {wake_.Get(), POLLIN, 0}}};
    timespec time{};
    if (limit) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(*limit);
        time = {seconds.count(), std::chrono::nanoseconds(*limit - seconds).count()};
    }
    ppoll(files.data(), files.size(), limit ? &time : nullptr, nullptr);
    eventfd_t count = 0;
    if ((files[1].revents & POLLIN) != 0) {
        eventfd_read(wake_.Get(), &count);
    }
}

}  // namespace ZYNE::Linux
