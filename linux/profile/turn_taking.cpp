#include "linux/profile/turn_taking.h"

#include <utility>

namespace ZYNE::Linux {

void TurnTaking::Start() {
    {
        const Lock lock(mutex_);
        isStopping_ = false;
    }
    for (std::thread& thread : threads_) {
        thread = std::thread([this] { Run(); });
    }
}

void TurnTaking::Stop() {
    SetNetwork(nullptr);
    {
        const Lock lock(mutex_);
        isStopping_ = true;
        turn_.notify_all();
    }
    for (std::thread& thread : threads_) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

void TurnTaking::Wake() {
    const Lock lock(mutex_);
    isWaiting_ = true;
    if (!isTelling_) {
        turn_.notify_one();
    }
}

void TurnTaking::SetNetwork(ProfileNetwork* network) {
    Lock lock(mutex_);
    ProfileNetwork* const before = std::exchange(network_, network);
    if (before != nullptr) {
        before->Interrupt();
        readEnded_.wait(lock, [this] { return !isReading_; });
    }
    turn_.notify_one();
}

void TurnTaking::Run() {
    Lock lock(mutex_);
    while (!isStopping_) {
        if (isWaiting_ && !isTelling_) {
            TellAll(lock);
        } else if (network_ != nullptr && !isReading_) {
            ReadOnce(lock);
        } else {
            turn_.wait(lock);
        }
    }
}

void TurnTaking::ReadOnce(Lock& lock) {
    ProfileNetwork& network = *network_;
    isReading_ = true;
    lock.unlock();
    network.Read();
    lock.lock();
    isReading_ = false;
    isWaiting_ = true;
    if (network_ == nullptr) {
        readEnded_.notify_all();
    }
}

void TurnTaking::TellAll(Lock& lock) {
    isTelling_ = true;
    isWaiting_ = false;
    lock.unlock();
    // For the other one to read on; it finds the lock free.
    turn_.notify_one();
    while (tell_()) {
    }
    lock.lock();
    isTelling_ = false;
}

}  // namespace ZYNE::Linux
