#include "linux/services/bus_daemon.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {
namespace {

constexpr char PROGRAM[] = "dbus-daemon";
constexpr std::chrono::seconds READY_TIME{10};
constexpr std::chrono::seconds END_TIME{2};
constexpr int ADDRESS_FD = 3;  // in the child, where it writes its address
constexpr int HELD_FD = 4;     // in the child

// In the child, between fork and exec: system calls only. Signals are reset to those of a fresh process. A process
// group of its own keeps the terminal's interrupt away, since the bus must outlive the device's own orderly stop.
[[noreturn]] void BecomeDaemon(char* const* arguments, pid_t parent, int addressFd, int heldFd) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    // The descriptors are first moved out of each other's way. No other one is passed on, as libraries may have opened
    // sockets that children would inherit. What services print goes where our own errors go.
    const int address = fcntl(addressFd, F_DUPFD, HELD_FD + 1);
    const int held = fcntl(heldFd, F_DUPFD, HELD_FD + 1);
    const bool ready = address >= 0 && held >= 0 && dup2(address, ADDRESS_FD) >= 0 && dup2(held, HELD_FD) >= 0 &&
        dup2(STDERR_FILENO, STDOUT_FILENO) >= 0 && close_range(HELD_FD + 1, ~0u, 0) == 0;
    if (ready && getppid() == parent) {
        execvp(arguments[0], arguments);
    }
    _exit(127);
}

// The daemon's complaints, for example about a limit of files that it may not raise in a container, do not concern the
// device's user. But where there is a journal, a daemon that logs to it also sends it what services print.
const char* LogFlag() {
    return access("/run/systemd/journal/stdout", F_OK) == 0 ? "--nosyslog" : "--syslog-only";
}

pid_t Spawn(const std::filesystem::path& configFile, int addressFd, int heldFd) {
    std::string program = PROGRAM;
    std::string config = "--config-file=" + configFile.native();
    std::string address = "--print-address=" + std::to_string(ADDRESS_FD);
    std::string stay = "--nofork";
    std::string noFile = "--nopidfile";
    std::string log = LogFlag();
    const std::array<char*, 7> arguments{
        program.data(), config.data(), address.data(), stay.data(), noFile.data(), log.data(), nullptr};
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        BecomeDaemon(arguments.data(), parent, addressFd, heldFd);
    }
    if (child < 0) {
        throw std::runtime_error("cannot start the bus: " + std::generic_category().message(errno));
    }
    return child;
}

// The line that the daemon writes when it is ready; empty when it ended, or took too long.
std::string ReadAddress(int fd) {
    const auto deadline = std::chrono::steady_clock::now() + READY_TIME;
    std::string line;
    while (!line.ends_with('\n')) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd file{fd, POLLIN, 0};
        std::array<char, 256> piece{};
        if (left.count() <= 0 || (poll(&file, 1, static_cast<int>(left.count())) < 0 && errno != EINTR)) {
            return {};
        }
        if (file.revents == 0) {
            continue;
        }
        const ssize_t size = read(fd, piece.data(), piece.size());
        if (size <= 0) {
            return {};
        }
        line.append(piece.data(), static_cast<size_t>(size));
    }
    line.pop_back();
    return line;
}

void End(pid_t pid) {
    kill(pid, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + END_TIME;
    while (waitpid(pid, nullptr, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
            return;
        }
        usleep(1000);
    }
}

}  // namespace

BusDaemon::BusDaemon(const std::filesystem::path& configFile, int heldFd) : pid_(-1) {
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) < 0) {
        throw std::runtime_error("cannot start the bus: " + std::generic_category().message(errno));
    }
    const UniqueFd reader(ends[0]);
    UniqueFd writer(ends[1]);
    pid_ = Spawn(configFile, writer.Get(), heldFd);
    writer.Reset();
    address_ = ReadAddress(reader.Get());
    if (address_.empty()) {
        End(pid_);
        throw std::runtime_error(std::string("the bus did not start: is ") + PROGRAM +
            " installed? It says more on standard error or in the system's log");
    }
}

BusDaemon::~BusDaemon() {
    End(pid_);
}

}  // namespace ZYNE::Linux
