// A process that is not our child, held so that its number cannot be reused for another one.
#pragma once

#include <chrono>
#include <cstdint>

#include "linux/base/unique_fd.h"

namespace ZYNE::Linux {

class ProcessHandle {
public:
    // Empty when there is no such process.
    explicit ProcessHandle(int32_t pid);

    explicit operator bool() const { return static_cast<bool>(fd_); }

    // Whether the process has ended, waiting for it to. True for an empty handle.
    bool WaitUntilEnded(std::chrono::milliseconds timeout) const;

    // Ends the process at once, whatever it is doing.
    void Kill() const;
    // Sends it a signal.
    void Signal(int signal) const;

private:
    UniqueFd fd_;
};

}  // namespace ZYNE::Linux
