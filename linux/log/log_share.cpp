#include "linux/log/log_share.h"

#include <utility>

namespace ZYNE::Linux {

LogShare::LogShare(std::string device, std::function<Clock::time_point()> now)
    : device_(std::move(device)), now_(std::move(now)), begin_(now_()) {}

bool LogShare::Take() {
    const MutexLock lock(mutex_);
    const Clock::time_point now = now_();
    if (now - begin_ >= TIME) {
        begin_ = now;
        taken_ = 0;
    }
    if (taken_ == MAX_LINES) {
        ++suppressed_;
        return false;
    }
    ++taken_;
    return true;
}

bool LogShare::WantsReport() {
    const MutexLock lock(mutex_);
    return suppressed_ > 0 && !std::exchange(willBeReported_, true);
}

std::string LogShare::Report() {
    const MutexLock lock(mutex_);
    willBeReported_ = false;
    return std::to_string(std::exchange(suppressed_, 0)) + " more lines for device " + device_ + " suppressed";
}

}  // namespace ZYNE::Linux
