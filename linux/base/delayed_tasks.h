// Tasks that run later, with one thread that waits for all of them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <thread>

#include "linux/base/mutex.h"
#include "platform/host/asyn_thread_pool.h"

namespace ZYNE::Linux {

// Any thread. It has a thread of its own from the first task on, which gives each task to the pool when it is due.
class DelayedTasks {
public:
    explicit DelayedTasks(CollaborationFwk::AsynThreadPool& pool) : pool_(pool) {}
    DelayedTasks(const DelayedTasks&) = delete;
    DelayedTasks& operator=(const DelayedTasks&) = delete;
    ~DelayedTasks() { Stop(); }

    // Runs `task` after `delay`, or later if the pool has no thread for it then. An exception that leaves it is logged.
    // False after Stop.
    bool Post(std::chrono::milliseconds delay, std::function<void()> task);

    // Drops the tasks that are left and ends the thread for good. Not inside a task.
    void Stop();

private:
    using Clock = std::chrono::steady_clock;

    void Run();

    CollaborationFwk::AsynThreadPool& pool_;
    Mutex mutex_;
    std::condition_variable changed_;                                                   // tasks_ or stopped_
    std::multimap<Clock::time_point, std::function<void()>> tasks_ GUARDED_BY(mutex_);  // by when they are due
    std::thread thread_ GUARDED_BY(mutex_);
    bool stopped_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
