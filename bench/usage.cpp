#include "bench/usage.h"

#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace ZYNE::Bench {
namespace {

namespace fs = std::filesystem;

fs::path ProcessDirectory(pid_t pid) {
    return fs::path("/proc") / std::to_string(pid);
}

double CpuMsOf(pid_t pid) {
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &used) != 0) {
        throw std::runtime_error("process " + std::to_string(pid) + " has ended");
    }
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

uint64_t WakeUpsOf(const fs::path& thread) {
    constexpr char KEY[] = "voluntary_ctxt_switches:";
    std::ifstream status(thread / "status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(KEY)) {
            return std::stoull(line.substr(sizeof(KEY) - 1));
        }
    }
    return 0;  // it has ended just now
}

}  // namespace

Usage UsageOf(pid_t pid) {
    Usage usage{CpuMsOf(pid), 0, 0};
    size_t pages = 0;
    std::ifstream(ProcessDirectory(pid) / "statm") >> pages >> pages;  // the second is what is in memory
    usage.memoryKiB = static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
    for (const auto& thread : fs::directory_iterator(ProcessDirectory(pid) / "task")) {
        usage.wakeUps += WakeUpsOf(thread.path());
    }
    return usage;
}

std::map<std::string, int> ThreadNames(pid_t pid) {
    std::map<std::string, int> names;
    for (const auto& thread : fs::directory_iterator(ProcessDirectory(pid) / "task")) {
        std::string name;
        std::getline(std::ifstream(thread.path() / "comm"), name);
        ++names[name];
    }
    return names;
}

}  // namespace ZYNE::Bench
