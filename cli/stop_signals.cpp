#include "cli/stop_signals.h"

#include <cerrno>
#include <csignal>
#include <ostream>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace ZYNE::Cli {

StopSignals::StopSignals() {
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr);
    descriptor_ = signalfd(-1, &stop, SFD_CLOEXEC);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "signals cannot be waited for");
    }
}

void StopSignals::RaiseUnlessWritable(const std::ostream& out) const {
    if (!out) {
        kill(getpid(), SIGTERM);
    }
}

StopSignals::~StopSignals() {
    close(descriptor_);
}

}  // namespace ZYNE::Cli
