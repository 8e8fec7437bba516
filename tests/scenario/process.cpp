#include "tests/scenario/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace ZYNE::Testing {
namespace {

int ExitStatus(int waitStatus) {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

pid_t Spawn(const std::vector<std::string>& command, int out, int err) {
    std::vector<char*> argv;
    for (const std::string& word : command) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    if (pid < 0) {
        throw std::runtime_error("cannot fork");
    }
    return pid;
}

struct Pipe {
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("cannot make a pipe");
        }
    }
    std::array<int, 2> ends{};
};

// Reads what is there; false at the end of the stream.
bool ReadSome(int fd, std::string& text) {
    std::array<char, 65536> buffer{};
    const ssize_t size = read(fd, buffer.data(), buffer.size());
    if (size > 0) {
        text.append(buffer.data(), static_cast<size_t>(size));
    }
    return size > 0;
}

}  // namespace

Outcome RunCommand(const std::vector<std::string>& command) {
    Pipe out;
    Pipe err;
    const pid_t pid = Spawn(command, out.ends[1], err.ends[1]);
    close(out.ends[1]);
    close(err.ends[1]);
    Outcome outcome{};
    std::array<pollfd, 2> polled{{{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}}};
    while (polled[0].fd >= 0 || polled[1].fd >= 0) {
        poll(polled.data(), polled.size(), -1);
        if (polled[0].revents != 0 && !ReadSome(polled[0].fd, outcome.out)) {
            polled[0].fd = -1;
        }
        if (polled[1].revents != 0 && !ReadSome(polled[1].fd, outcome.err)) {
            polled[1].fd = -1;
        }
    }
    close(out.ends[0]);
    close(err.ends[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    outcome.status = ExitStatus(status);
    return outcome;
}

Process::Process(const std::vector<std::string>& command, const std::string& outputFile) {
    const int fd = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    pid_ = Spawn(command, fd, fd);
    close(fd);
}

Process::~Process() {
    if (!HasEnded()) {
        Signal(SIGKILL);
        Wait();
    }
}

void Process::Signal(int signal) const {
    kill(pid_, signal);
}

bool Process::HasEnded() {
    int status = 0;
    if (status_ < 0 && waitpid(pid_, &status, WNOHANG) == pid_) {
        status_ = ExitStatus(status);
    }
    return status_ >= 0;
}

int Process::Wait() {
    int status = 0;
    if (status_ < 0 && waitpid(pid_, &status, 0) == pid_) {
        status_ = ExitStatus(status);
    }
    return status_;
}

bool Eventually(const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

}  // namespace ZYNE::Testing
