#include "linux/desktop/x_attempt.h"

#include <pthread.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace ZYNE::Linux {

XAttempt::XAttempt() : over_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!over_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

std::shared_ptr<XAttempt> XAttempt::Begin(const std::string& display) {
    std::shared_ptr<XAttempt> attempt(new XAttempt());
    std::thread([attempt, display] { attempt->Run(display); }).detach();
    return attempt;
}

void XAttempt::Run(const std::string& display) noexcept {
    pthread_setname_np(pthread_self(), "collabd-x");
    try {
        End(XConnection::Open(display), {});
    } catch (const std::exception& error) {
        End(nullptr, error.what());
    }
}

void XAttempt::End(std::unique_ptr<XConnection> connection, std::string trouble) {
    const MutexLock lock(mutex_);
    connection_ = std::move(connection);
    trouble_ = std::move(trouble);
    isOver_ = true;
    eventfd_write(over_.Get(), 1);
}

bool XAttempt::IsOver() {
    const MutexLock lock(mutex_);
    return isOver_;
}

std::unique_ptr<XConnection> XAttempt::Take() {
    const MutexLock lock(mutex_);
    if (!connection_) {
        throw std::runtime_error(trouble_);
    }
    return std::move(connection_);
}

}  // namespace ZYNE::Linux
