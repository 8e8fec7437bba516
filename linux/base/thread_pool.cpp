#include "linux/base/thread_pool.h"

#include <algorithm>
#include <exception>
#include <pthread.h>
#include <utility>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::RUNTIME;
constexpr int32_t POOL_PARAM = 0;
constexpr std::chrono::seconds RETRY_TIME{1};  // for a task that found no thread

}  // namespace

ThreadPool::ThreadPool(size_t mostThreads, std::chrono::milliseconds idleTime)
    : mostThreads_(mostThreads), idleTime_(idleTime) {}

ThreadPool::~ThreadPool() {
    Stop();
}

bool ThreadPool::AddAsynTask(std::function<void()> task, int32_t /*param*/) {
    PostedTask posted(std::move(task));
    const bool isForPeer = posted.IsForPeer();
    const MutexLock lock(mutex_);
    if (stopped_ || !posted) {
        return false;
    }
    if (isForPeer && peerTasks_ >= mostThreads_ / 2) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "%{public}zu threads are busy for peers, task for a peer refused",
            peerTasks_);
        return false;
    }
    if (!Give(std::move(posted))) {
        return false;
    }
    peerTasks_ += isForPeer ? 1 : 0;
    return true;
}

bool ThreadPool::AddLaterTask(std::chrono::milliseconds delay, std::function<void()> task) {
    return later_.Post(delay, std::move(task));
}

bool ThreadPool::AddTaskSoon(const std::function<void()>& task) {
    return AddAsynTask(task, POOL_PARAM) || AddLaterTask(RETRY_TIME, task);
}

Post ThreadPool::Poster() {
    return [this](std::function<void()> task) {
        return AddAsynTask(std::move(task), POOL_PARAM);
    };
}

bool ThreadPool::Give(PostedTask task) {
    if (!idle_.empty()) {
        Worker& worker = *idle_.back();
        idle_.pop_back();
        worker.task = std::move(task);
        worker.wake.notify_one();
        return true;
    }
    if (workers_.size() >= mostThreads_) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "all %{public}zu threads are busy, task refused", mostThreads_);
        return false;
    }
    return StartWorker(std::move(task));
}

bool ThreadPool::StartWorker(PostedTask task) {
    const size_t before = workers_.size();
    try {
        const auto worker = workers_.emplace(workers_.end());
        worker->task = std::move(task);
        worker->thread = std::thread([this, worker] { Run(worker); });
        return true;
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "no further thread: %{public}s, task refused", error.what());
        if (workers_.size() > before) {
            workers_.pop_back();
        }
        return false;
    }
}

void ThreadPool::Run(std::list<Worker>::iterator self) {
    pthread_setname_np(pthread_self(), "collabd-pool");
    MutexLock lock(mutex_);
    do {
        PostedTask task = std::exchange(self->task, PostedTask());
        const bool isForPeer = task.IsForPeer();
        lock.unlock();
        task.Run();
        lock.lock();
        peerTasks_ -= isForPeer ? 1 : 0;
    } while (WaitForTask(lock, *self));
    std::list<Worker> earlier = Retire(self);
    lock.unlock();
    Join(earlier);
}

// False when the worker is to end. Whoever wakes it has taken it out of idle_.
bool ThreadPool::WaitForTask(MutexLock& lock, Worker& self) {
    if (stopped_) {
        return false;
    }
    idle_.push_back(&self);
    if (!self.wake.wait_for(lock, idleTime_, [&]() REQUIRES(mutex_) { return self.task || stopped_; })) {
        std::erase(idle_, &self);
        return false;
    }
    return static_cast<bool>(self.task);
}

// A thread cannot join itself: it leaves its handle to the next one that ends, or to Stop. Those left to this one.
std::list<ThreadPool::Worker> ThreadPool::Retire(std::list<Worker>::iterator self) {
    std::list<Worker> earlier;
    earlier.swap(retired_);
    retired_.splice(retired_.end(), workers_, self);
    if (workers_.empty()) {
        allGone_.notify_all();
    }
    return earlier;
}

void ThreadPool::Join(std::list<Worker>& ended) {
    for (Worker& worker : ended) {
        worker.thread.join();
    }
}

void ThreadPool::Close() {
    stopped_ = true;
    for (Worker* worker : idle_) {
        worker->wake.notify_one();
    }
    idle_.clear();
}

bool ThreadPool::Drain(std::chrono::milliseconds limit) {
    later_.Stop();
    MutexLock lock(mutex_);
    Close();
    return allGone_.wait_for(lock, limit, [&]() REQUIRES(mutex_) { return workers_.empty(); });
}

void ThreadPool::Stop() {
    later_.Stop();
    std::list<Worker> last;
    {
        MutexLock lock(mutex_);
        Close();
        allGone_.wait(lock, [&]() REQUIRES(mutex_) { return workers_.empty(); });
        last.swap(retired_);
    }
    Join(last);
}

size_t ThreadPool::ThreadCount() const {
    const MutexLock lock(mutex_);
    return workers_.size();
}

}  // namespace ZYNE::Linux
