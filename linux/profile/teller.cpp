#include "linux/profile/teller.h"

#include <pthread.h>

namespace ZYNE::Linux {

void Teller::Start() {
    {
        const std::scoped_lock lock(mutex_);
        isStopping_ = false;
    }
    thread_ = std::thread([this] { Run(); });
    pthread_setname_np(thread_.native_handle(), "collabd-profile");
}

void Teller::Stop() {
    {
        const std::scoped_lock lock(mutex_);
        isStopping_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Teller::Wake() {
    {
        const std::scoped_lock lock(mutex_);
        isWaiting_ = true;
    }
    wake_.notify_one();
}

void Teller::Run() {
    std::unique_lock lock(mutex_);
    while (!isStopping_) {
        if (!isWaiting_) {
            wake_.wait(lock);
            continue;
        }
        isWaiting_ = false;
        lock.unlock();
        while (tellOne_()) {
        }
        lock.lock();
    }
}

}  // namespace ZYNE::Linux
