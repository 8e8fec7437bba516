#include "companion/x11/keeper.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ZYNE::Companion {
namespace {

constexpr std::chrono::seconds PAUSE_BEFORE_ANOTHER{1};

[[noreturn]] void Fail(const std::string& what, int error) {
    throw std::runtime_error(what + ": " + std::generic_category().message(error));
}

// For one posix_spawn.
class SpawnPlan {
public:
    // The child gets `line` and `board` under their numbers; they are moved out of each other's way first.
    SpawnPlan(int line, int board) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&actions_, line, KEEPER_LINE_FD);
        posix_spawn_file_actions_adddup2(&actions_, board, KEEPER_BOARD_FD);
        // A session of its own: what ends the companion's does not end the keeper. No signal blocked: the companion may
        // be started by one who blocks some.
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }

    int Run(pid_t& pid, const std::string& program, std::array<std::string, 2> arguments) const {
        std::string name = program;
        std::array<char*, 4> argv{name.data(), arguments[0].data(), arguments[1].data(), nullptr};
        return posix_spawn(&pid, program.c_str(), &actions_, &attributes_, argv.data(), environ);
    }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

// With a number that no number of the keeper's can be.
Linux::UniqueFd MoveUp(Linux::UniqueFd fd) {
    constexpr int FREE = 10;
    Linux::UniqueFd moved(fcntl(fd.Get(), F_DUPFD_CLOEXEC, FREE));
    if (!moved) {
        Fail("no descriptor for the keeper", errno);
    }
    return moved;
}

}  // namespace

Keeper::Keeper(Linux::EventLoop& loop, std::string program, std::string display, xcb_window_t window)
    : loop_(loop), program_(std::move(program)), display_(std::move(display)), window_(std::to_string(window)) {
    memory_ = MoveUp(Linux::UniqueFd(memfd_create("companion_keeper", MFD_CLOEXEC)));
    if (ftruncate(memory_.Get(), sizeof(KeeperBoard)) != 0) {
        Fail("no memory for the keeper", errno);
    }
    void* memory = mmap(nullptr, sizeof(KeeperBoard), PROT_READ | PROT_WRITE, MAP_SHARED, memory_.Get(), 0);
    if (memory == MAP_FAILED) {
        Fail("no memory for the keeper", errno);
    }
    board_ = new (memory) KeeperBoard();
    try {
        StartProgram();
    } catch (...) {
        munmap(memory, sizeof(KeeperBoard));
        throw;
    }
}

Keeper::~Keeper() {
    if (IsEmpty(*board_)) {
        Stop();
    }
    munmap(board_, sizeof(KeeperBoard));
}

// A keeper with nothing to let go of need not be waited for, whatever it or the server is doing.
void Keeper::Stop() {
    ended_ = {};
    again_ = {};
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(std::exchange(pid_, -1), nullptr, 0);
    }
    line_.Reset();
}

void Keeper::MarkButton(uint32_t button, bool isDown) {
    if (button >= KeeperBoard::BUTTONS) {
        return;
    }
    const uint32_t bit = 1U << button;
    isDown ? board_->buttons.fetch_or(bit) : board_->buttons.fetch_and(~bit);
}

void Keeper::Mark(std::array<std::atomic<uint32_t>, KeeperBoard::KEYS / 32>& words, uint32_t code, bool isDown) {
    if (code >= KeeperBoard::KEYS) {
        return;
    }
    const uint32_t bit = 1U << (code % 32);
    isDown ? words[code / 32].fetch_or(bit) : words[code / 32].fetch_and(~bit);
}

void Keeper::StartProgram() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        Fail("no line to the keeper", errno);
    }
    line_ = Linux::UniqueFd(ends[0]);
    const Linux::UniqueFd theirs = MoveUp(Linux::UniqueFd(ends[1]));
    const int error = SpawnPlan(theirs.Get(), memory_.Get()).Run(pid_, program_, {display_, window_});
    if (error != 0) {
        pid_ = -1;
        line_.Reset();
        Fail(program_ + " does not start", error);
    }
    ended_ = loop_.Watch(line_.Get(), POLLIN, [this](uint32_t) { OnEnd(); });
}

// It never writes: it has ended.
void Keeper::OnEnd() {
    ended_ = {};
    line_.Reset();
    waitpid(std::exchange(pid_, -1), nullptr, 0);
    again_ = loop_.After(PAUSE_BEFORE_ANOTHER, [this] {
        try {
            StartProgram();
        } catch (const std::runtime_error&) {
            OnEnd();
        }
    });
}

}  // namespace ZYNE::Companion
