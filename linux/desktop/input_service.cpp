#include "linux/desktop/input_service.h"

#include <utility>

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;

constexpr int32_t NOT_ADDED = -1;
constexpr auto SERVER_LIMIT = 1s;

}  // namespace

void InputService::Start(const InputOptions& options) {
    const MutexLock lock(mutex_);
    if (!options.scripted) {
        server_.Start(options.display);
    }
    isStarted_ = true;
}

void InputService::Stop() {
    const MutexLock lock(mutex_);
    isStarted_ = false;
    monitors_.RemoveAll();
    server_.Stop();
}

int32_t InputService::AddMonitor(KeyMonitor monitor) {
    return Add(std::move(monitor));
}

int32_t InputService::AddMonitor(PointerMonitor monitor) {
    return Add(std::move(monitor));
}

template <typename Monitor>
int32_t InputService::Add(Monitor monitor) {
    int32_t monitorId = NOT_ADDED;
    {
        const MutexLock lock(mutex_);
        if (isStarted_) {
            monitorId = monitors_.Add(std::move(monitor));
        }
        if (monitorId >= 0) {
            server_.SetWanted(true);
        }
    }
    server_.AwaitAttempt(SERVER_LIMIT);
    return monitorId;
}

void InputService::RemoveMonitor(int32_t monitorId) {
    const MutexLock lock(mutex_);
    if (!monitors_.Remove(monitorId)) {
        server_.SetWanted(false);
    }
}

sptr<Display> InputService::GetDefaultDisplay() {
    {
        const MutexLock lock(mutex_);
        server_.SetWanted(true);
    }
    server_.AwaitAttempt(SERVER_LIMIT);
    return displays_.Default();
}

sptr<Display> InputService::GetDisplayById(uint64_t displayId) {
    return displays_.Find(displayId);
}

bool InputService::DeliverScripted(const std::vector<InputEvent>& events) {
    const MutexLock lock(mutex_);
    if (!isStarted_ || displays_.HasServer()) {
        return false;
    }
    monitors_.Deliver(events);
    return true;
}

}  // namespace ZYNE::Linux
