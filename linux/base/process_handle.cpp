#include "linux/base/process_handle.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

extern "C" {  // which the header forgets in some releases
#include <sys/pidfd.h>
}

namespace ZYNE::Linux {

ProcessHandle::ProcessHandle(int32_t pid) : fd_(pid > 0 ? pidfd_open(pid, 0) : -1) {}

bool ProcessHandle::WaitUntilEnded(std::chrono::milliseconds timeout) const {
    if (!fd_) {
        return true;
    }
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd file{fd_.Get(), POLLIN, 0};
        const int result = poll(&file, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
        if (result >= 0 || errno != EINTR) {
            return result > 0;
        }
    }
}

void ProcessHandle::Kill() const {
    Signal(SIGKILL);
}

void ProcessHandle::Signal(int signal) const {
    if (fd_) {
        pidfd_send_signal(fd_.Get(), signal, nullptr, 0);
    }
}

}  // namespace ZYNE::Linux
