#include "linux/apps/serial_tasks.h"

#include <exception>
#include <utility>

#include "platform/host/asyn_thread_pool.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG{0xD004632, "Apps"};
constexpr int32_t POOL_PARAM = 0;

void RunAndDrop(std::function<void()> task) noexcept {
    try {
        task();
        task = nullptr;
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a task ended with an exception: %{public}s", error.what());
    } catch (...) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a task ended with an exception of unknown type");
    }
}

}  // namespace

bool SerialTasks::Post(std::function<void()> task) {
    const std::scoped_lock lock(mutex_);
    tasks_.push_back(std::move(task));
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
        std::function<void()> task;
        {
            const std::scoped_lock lock(mutex_);
            if (tasks_.empty()) {
                running_ = false;
                return;
            }
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        RunAndDrop(std::move(task));
    }
}

}  // namespace ZYNE::Linux
