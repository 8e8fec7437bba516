#include "tests/scenario/process.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace ZYNE::Testing {
namespace {

int ExitStatus(int waitStatus) {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

pid_t Spawn(const std::vector<std::string>& command, int out, int err) {
    std::vector<char*> argv;
    argv.reserve(command.size() + 1);
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

// A file that only its descriptor names.
int NewFile() {
    const int file = memfd_create("output", MFD_CLOEXEC);
    if (file < 0) {
        throw std::runtime_error("cannot make a file");
    }
    return file;
}

std::string ReadAndClose(int file) {
    std::ifstream stream("/proc/self/fd/" + std::to_string(file));
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    close(file);
    return text;
}

}  // namespace

Outcome RunCommand(const std::vector<std::string>& command) {
    const int out = NewFile();
    const int err = NewFile();
    int status = 0;
    waitpid(Spawn(command, out, err), &status, 0);
    return {ExitStatus(status), ReadAndClose(out), ReadAndClose(err)};
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

void Process::Reap(int options) {
    int status = 0;
    if (status_ < 0 && waitpid(pid_, &status, options) == pid_) {
        status_ = ExitStatus(status);
    }
}

bool Process::HasEnded() {
    Reap(WNOHANG);
    return status_ >= 0;
}

int Process::Wait() {
    Reap(0);
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
