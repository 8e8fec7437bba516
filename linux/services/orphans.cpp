#include "linux/services/orphans.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "linux/base/log_domains.h"
#include "linux/base/process_handle.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux::Orphans {
namespace {

using namespace std::chrono_literals;

constexpr LogDomain LOG = LogDomains::BUS;
constexpr pid_t FIRST_OF_OTHERS = 2;  // the first process is the system's
constexpr auto ASK_TIME = 300ms;
constexpr auto KILL_TIME = 200ms;
constexpr int MAX_ROUNDS = 3;  // a process may have started another one before it ended

std::atomic<bool> isAdopting{false};

struct Process {
    char state = 0;
    pid_t parent = 0;
    uint64_t start = 0;
};

// The program's name, which may hold anything, stands in brackets before the fields.
std::optional<Process> ReadProcess(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    const size_t nameEnd = text.rfind(')');
    if (nameEnd == std::string::npos) {
        return std::nullopt;
    }
    constexpr int BETWEEN = 17;  // fields between the parent and the start
    std::istringstream fields(text.substr(nameEnd + 1));
    Process process;
    fields >> process.state >> process.parent;
    std::string skipped;
    for (int i = 0; i < BETWEEN; ++i) {
        fields >> skipped;
    }
    fields >> process.start;
    return fields ? std::optional(process) : std::nullopt;
}

std::map<pid_t, Process> ReadProcesses() {
    std::map<pid_t, Process> processes;
    std::error_code error;
    for (std::filesystem::directory_iterator at("/proc", error), end; !error && at != end; at.increment(error)) {
        const std::string name = at->path().filename().native();
        pid_t pid = 0;
        const auto [rest, problem] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (problem == std::errc() && rest == name.data() + name.size()) {
            if (const std::optional<Process> process = ReadProcess(pid)) {
                processes.emplace(pid, *process);
            }
        }
    }
    return processes;
}

bool DescendsFrom(const std::map<pid_t, Process>& processes, pid_t pid, pid_t ancestor) {
    // Numbers reused while they were read may form a circle.
    for (size_t steps = 0; steps < processes.size(); ++steps) {
        const auto process = processes.find(pid);
        if (process == processes.end()) {
            return false;
        }
        if (process->second.parent == ancestor) {
            return true;
        }
        pid = process->second.parent;
    }
    return false;
}

// Those that still run, each held, so that its number cannot be reused.
std::vector<ProcessHandle> FindDescendants(uint64_t since) {
    std::vector<ProcessHandle> found;
    const std::map<pid_t, Process> processes = ReadProcesses();
    for (const auto& [pid, process] : processes) {
        if (pid < FIRST_OF_OTHERS || process.state == 'Z' || process.start < since ||
            !DescendsFrom(processes, pid, getpid())) {
            continue;
        }
        ProcessHandle handle(pid);
        if (handle && StartOf(pid) == process.start) {
            found.push_back(std::move(handle));
        }
    }
    return found;
}

bool WaitForAll(const std::vector<ProcessHandle>& processes, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    return std::ranges::all_of(processes, [&](const ProcessHandle& process) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        return process.WaitUntilEnded(std::max(left, 0ms));
    });
}

// First looks which child has ended, then waits for it: until then its number cannot be reused.
void WaitForChildren(pid_t spared) {
    pthread_setname_np(pthread_self(), "collabd-reaper");
    for (;;) {
        siginfo_t ended{};
        const int result = waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT);
        if (result != 0 && errno == EINTR) {
            continue;
        }
        if (result != 0 || ended.si_pid == spared) {
            return;
        }
        waitpid(ended.si_pid, nullptr, WNOHANG);
    }
}

}  // namespace

void Adopt() {
    isAdopting = prctl(PR_SET_CHILD_SUBREAPER, 1) == 0;
}

uint64_t StartOf(pid_t pid) {
    const std::optional<Process> process = ReadProcess(pid);
    return process ? process->start : 0;
}

void ForgetEnded(pid_t spared) {
    if (isAdopting) {
        std::thread([spared] { WaitForChildren(spared); }).detach();
    }
}

void EndAll(uint64_t since) {
    for (int round = 0; isAdopting && round < MAX_ROUNDS; ++round) {
        const std::vector<ProcessHandle> processes = FindDescendants(since);
        if (processes.empty()) {
            return;
        }
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "%{public}zu processes that services have left behind are ended",
            processes.size());
        for (const ProcessHandle& process : processes) {
            process.Signal(SIGTERM);
        }
        if (!WaitForAll(processes, ASK_TIME)) {
            for (const ProcessHandle& process : processes) {
                process.Kill();
            }
            WaitForAll(processes, KILL_TIME);
        }
    }
}

}  // namespace ZYNE::Linux::Orphans
