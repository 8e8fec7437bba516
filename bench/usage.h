// What a process has used so far, as the kernel tells it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>

namespace ZYNE::Bench {

struct Usage {
    double cpuMs;      // of all threads, ended ones included
    double memoryKiB;  // resident now
    uint64_t wakeUps;  // of the threads that it has now: how often one had waited, and went on
};

// Throws std::runtime_error when there is no such process.
Usage UsageOf(pid_t pid);

// How many threads of each name it has.
std::map<std::string, int> ThreadNames(pid_t pid);

}  // namespace ZYNE::Bench
