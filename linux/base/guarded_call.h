// Calls handlers so that no exception reaches the threads of the port.
#pragma once

#include <exception>

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {

// Runs `call`. False when it threw, which is logged as the failure of `what`.
template <typename Call>
bool GuardedCall(const char* what, Call&& call) noexcept {
    constexpr LogDomain LOG = LogDomains::RUNTIME;
    try {
        call();
        return true;
    } catch (const std::exception& error) {
        LogPrint(
            LogType::CORE, LogLevel::ERROR, LOG, "%{public}s failed with an exception: %{public}s", what, error.what());
    } catch (...) {
        LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "%{public}s failed with an exception of unknown type", what);
    }
    return false;
}

}  // namespace ZYNE::Linux
