#include "linux/base/delayed_tasks.h"

#include <exception>
#include <pthread.h>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::RUNTIME;
constexpr int32_t POOL_PARAM = 0;
constexpr std::chrono::seconds RETRY_TIME{1};  // when the pool has refused a task

}  // namespace

bool DelayedTasks::Post(std::chrono::milliseconds delay, std::function<void()> task) {
    const MutexLock lock(mutex_);
    if (stopped_) {
        return false;
    }
    try {
        if (!thread_.joinable()) {
            thread_ = std::thread([this] { Run(); });
        }
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "no thread for later tasks: %{public}s", error.what());
        return false;
    }
    tasks_.emplace(Clock::now() + delay, std::move(task));
    changed_.notify_one();
    return true;
}

void DelayedTasks::Run() {
    pthread_setname_np(pthread_self(), "collabd-later");
    MutexLock lock(mutex_);
    while (!stopped_) {
        if (tasks_.empty()) {
            changed_.wait(lock);
            continue;
        }
        const Clock::time_point due = tasks_.begin()->first;
        if (Clock::now() < due) {
            changed_.wait_until(lock, due);
            continue;
        }
        auto node = tasks_.extract(tasks_.begin());
        lock.unlock();
        const bool posted = pool_.AddAsynTask(node.mapped(), POOL_PARAM);
        if (posted) {
            node.mapped() = nullptr;  // without the lock: it may hold a last reference
        }
        lock.lock();
        if (!posted && !stopped_) {
            node.key() = Clock::now() + RETRY_TIME;
            tasks_.insert(std::move(node));
        }
    }
}

void DelayedTasks::Stop() {
    std::multimap<Clock::time_point, std::function<void()>> dropped;  // after the lock: may hold a last reference
    std::thread thread;
    {
        const MutexLock lock(mutex_);
        stopped_ = true;
        dropped.swap(tasks_);
        thread.swap(thread_);
    }
    changed_.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
}

}  // namespace ZYNE::Linux
