// A task, and the peer that it was posted for, if any.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "linux/base/log_share_scope.h"
#include "linux/base/run_task.h"

namespace ZYNE::Linux {

// Has a task run on another thread, and never here; false when it does not take it.
using Post = std::function<bool(std::function<void()> task)>;

// One thread at a time.
class PostedTask {
public:
    PostedTask() = default;
    // Posted for the peer that the calling thread works for.
    explicit PostedTask(std::function<void()> task) : task_(std::move(task)), share_(LogShareScope::Current()) {}

    explicit operator bool() const { return static_cast<bool>(task_); }
    bool IsForPeer() const { return share_ != nullptr; }

    // Runs the task for its peer, and destroys it; see RunTask.
    void Run() noexcept {
        const LogShareScope scope(std::move(share_));
        RunTask(std::move(task_));
    }

private:
    std::function<void()> task_;
    std::shared_ptr<LogShare> share_;
};

}  // namespace ZYNE::Linux
