#include "linux/base/run_task.h"

#include <exception>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::RUNTIME;

}  // namespace

void RunTask(std::function<void()> task) noexcept {
    try {
        task();
        task = nullptr;
    } catch (const std::exception& error) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a task ended with an exception: %{public}s", error.what());
    } catch (...) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "a task ended with an exception of unknown type");
    }
}

}  // namespace ZYNE::Linux
