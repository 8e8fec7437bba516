#include "linux/base/serial_tasks.h"

#include <utility>

#include "platform/host/asyn_thread_pool.h"

namespace ZYNE::Linux {
namespace {

constexpr int32_t POOL_PARAM = 0;

}  // namespace

bool SerialTasks::Post(std::function<void()> task) {
    const std::scoped_lock lock(mutex_);
    tasks_.emplace_back(std::move(task));
    if (running_) {
        return true;
    }
    running_ = CollaborationFwk::AsynThreadPool::GetInstance()->AddAsynTask(
        [self = shared_from_this()] { self->RunAll(); }, POOL_PARAM);
    if (!running_) {
        tasks_.pop_back();
    }
    return running_;
}

void SerialTasks::RunAll() {
    for (;;) {
        PostedTask task;
        {
            const std::scoped_lock lock(mutex_);
            if (tasks_.empty()) {
                running_ = false;
                return;
            }
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task.Run();
    }
}

}  // namespace ZYNE::Linux
