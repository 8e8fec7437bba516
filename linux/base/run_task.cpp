#include "linux/base/run_task.h"

#include "linux/base/guarded_call.h"

namespace ZYNE::Linux {

void RunTask(std::function<void()> task) noexcept {
    GuardedCall("a task", [&] {
        task();
        task = nullptr;
    });
}

}  // namespace ZYNE::Linux
