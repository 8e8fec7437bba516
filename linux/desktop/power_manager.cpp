#include "linux/desktop/power_manager.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::POWER;
constexpr int32_t POOL_PARAM = 0;

}  // namespace

class PowerManager::ScreenLock final : public RunningLock {
public:
    ScreenLock(std::shared_ptr<PowerManager> manager, std::string name)
        : manager_(std::move(manager)), name_(std::move(name)) {}
    ScreenLock(const ScreenLock&) = delete;
    ScreenLock& operator=(const ScreenLock&) = delete;
    ~ScreenLock() override { manager_->UnLock(this); }

    int32_t Lock(int32_t timeoutMs) override { return manager_->Lock(this, name_, timeoutMs); }
    int32_t UnLock() override {
        manager_->UnLock(this);
        return POWER_OK;
    }

private:
    const std::shared_ptr<PowerManager> manager_;
    const std::string name_;
};

PowerManager::PowerManager(ThreadPool& pool, TimeSource& time, PowerBuses buses)
    : pool_(pool), time_(time), inhibitor_(std::move(buses)) {}

PowerManager::~PowerManager() = default;

std::shared_ptr<RunningLock> PowerManager::CreateRunningLock(const std::string& name, RunningLockType type) {
    return type == RunningLockType::SCREEN ? std::make_shared<ScreenLock>(shared_from_this(), name) : nullptr;
}

int32_t PowerManager::Lock(const RunningLock* lock, const std::string& name, int32_t timeoutMs) {
    const MutexLock guard(mutex_);
    if (stopped_ || timeoutMs <= 0) {
        return stopped_ ? POWER_STOPPED : POWER_BAD_TIMEOUT;
    }
    const auto at = locked_.try_emplace(lock).first;
    if (!Inhibit(at->second, name)) {
        locked_.erase(at);
        return POWER_NO_INHIBITOR;
    }
    if (!StartWatch()) {
        Release(at);
        return POWER_NO_THREAD;
    }
    at->second.deadline = time_.Now() + std::chrono::milliseconds(timeoutMs);
    changed_.notify_all();
    return POWER_OK;
}

bool PowerManager::Inhibit(Locked& locked, const std::string& name) {
    if (locked.inhibition && inhibitor_.IsHeld(*locked.inhibition)) {
        return true;
    }
    std::string error;
    locked.inhibition = inhibitor_.Inhibit(name, error);
    if (locked.inhibition) {
        LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the screen is kept on");
        complained_ = false;
    } else if (!std::exchange(complained_, true)) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "the screen cannot be kept on: %{public}s", error);
    }
    return locked.inhibition != nullptr;
}

bool PowerManager::StartWatch() {
    if (!watching_) {
        watching_ = pool_.AddAsynTask([self = shared_from_this()] { self->Watch(); }, POOL_PARAM);
    }
    return watching_;
}

void PowerManager::UnLock(const RunningLock* lock) {
    const MutexLock guard(mutex_);
    if (const auto at = locked_.find(lock); at != locked_.end()) {
        Release(at);
        changed_.notify_all();
    }
}

PowerManager::LockedMap::iterator PowerManager::Release(LockedMap::iterator at) {
    inhibitor_.Release(std::move(at->second.inhibition));
    LogPrint(LogType::CORE, LogLevel::INFO, LOG, "the screen is not kept on any more");
    return locked_.erase(at);
}

void PowerManager::Watch() {
    MutexLock guard(mutex_);
    while (!locked_.empty()) {
        const auto next = std::min_element(locked_.begin(), locked_.end(),
            [](const auto& one, const auto& other) { return one.second.deadline < other.second.deadline; });
        time_.WaitUntil(changed_, guard, next->second.deadline);
        const TimeSource::TimePoint now = time_.Now();
        for (auto at = locked_.begin(); at != locked_.end();) {
            at = at->second.deadline <= now ? Release(at) : std::next(at);
        }
    }
    watching_ = false;
}

void PowerManager::Stop() {
    const MutexLock guard(mutex_);
    stopped_ = true;
    for (auto at = locked_.begin(); at != locked_.end();) {
        at = Release(at);
    }
    inhibitor_.Close();
    changed_.notify_all();
}

}  // namespace ZYNE::Linux
