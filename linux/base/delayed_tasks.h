// Tasks that run later, without a thread each that waits for the time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "platform/host/asyn_thread_pool.h"

namespace ZYNE::Linux {

// Any thread. One thread of its own, from the first task on, gives each task to the pool when its time has come.
class DelayedTasks {
public:
    explicit DelayedTasks(CollaborationFwk::AsynThreadPool& pool) : pool_(pool) {}
    DelayedTasks(const DelayedTasks&) = delete;
    DelayedTasks& operator=(const DelayedTasks&) = delete;
    ~DelayedTasks() { Stop(); }

    // Has `task` run `delay` from now; later when the pool has no thread for it then. An exception that leaves it is
    // logged. False after Stop.
    bool Post(std::chrono::milliseconds delay, std::function<void()> task);

    // Drops the tasks that are left and ends the thread, for good. Not inside a task.
    void Stop();

private:
    using Clock = std::chrono::steady_clock;

    void Run();

    CollaborationFwk::AsynThreadPool& pool_;
    std::mutex mutex_;
    std::condition_variable changed_;                                // tasks_ or stopped_
    std::multimap<Clock::time_point, std::function<void()>> tasks_;  // guarded by mutex_; by when they are due
    std::thread thread_;                                             // guarded by mutex_
    bool stopped_ = false;                                           // guarded by mutex_
};

}  // namespace ZYNE::Linux
