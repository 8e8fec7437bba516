// Runs tasks one after the other, in the order in which they were posted, on threads of the pool.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "linux/base/posted_task.h"

namespace ZYNE::Linux {

// Any thread. Lives while a task is left, whoever lets go of it.
class SerialTasks : public std::enable_shared_from_this<SerialTasks> {
public:
    // Never runs the task inline. False when it was refused. An exception that leaves a task is logged.
    bool Post(std::function<void()> task);

private:
    void RunAll();

    std::mutex mutex_;              // held while the pool is asked, which does not call back
    std::deque<PostedTask> tasks_;  // guarded by mutex_
    bool running_ = false;          // guarded by mutex_; RunAll is posted or runs
};

}  // namespace ZYNE::Linux
