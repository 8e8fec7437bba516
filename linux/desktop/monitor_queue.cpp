#include "linux/desktop/monitor_queue.h"

#include <utility>

#include "linux/base/log_domains.h"
#include "linux/base/run_task.h"
#include "platform/host/asyn_thread_pool.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

using CollaborationFwk::AsynThreadPool;

constexpr LogDomain LOG = LogDomains::INPUT;
constexpr int32_t KEY_MOUSE = 4;  // what the pool is told of a task

bool IsMotion(const InputEvent& event) {
    const auto* change = std::get_if<PointerChange>(&event);
    return change != nullptr && change->isMotion;
}

}  // namespace

void MonitorQueue::Push(const InputEvent& event) {
    const std::scoped_lock lock(mutex_);
    if (isClosed_) {
        return;
    }
    if (!JoinLast(event)) {
        events_.push_back(event);
    }
    if (events_.size() > MOST_EVENTS) {
        LogPrint(LogType::CORE, LogLevel::WARN, LOG, "a monitor does not return, it loses its oldest event");
        events_.pop_front();
    }
    // What the pool refuses now, it is asked for again with the next event.
    if (!isRunning_) {
        isRunning_ =
            AsynThreadPool::GetInstance()->AddAsynTask([self = shared_from_this()] { self->Run(); }, KEY_MOUSE);
    }
}

bool MonitorQueue::JoinLast(const InputEvent& event) {
    if (events_.size() < MOST_MOTIONS || !IsMotion(event) || !IsMotion(events_.back())) {
        return false;
    }
    auto& last = std::get<PointerChange>(events_.back());
    PointerChange joined = std::get<PointerChange>(event);
    joined.dx += last.dx;
    joined.dy += last.dy;
    last = std::move(joined);
    return true;
}

void MonitorQueue::Close() {
    const std::scoped_lock lock(mutex_);
    isClosed_ = true;
    events_.clear();
}

void MonitorQueue::Run() {
    std::unique_lock lock(mutex_);
    while (!events_.empty()) {
        const InputEvent event = std::move(events_.front());
        events_.pop_front();
        lock.unlock();
        RunTask([&] { call_(event); });
        lock.lock();
    }
    isRunning_ = false;
}

}  // namespace ZYNE::Linux
