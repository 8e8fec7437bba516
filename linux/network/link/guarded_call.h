// Calls of handlers, from which no exception may reach the threads of the port.
#pragma once

#include <exception>

#include "linux/network/link/network_log.h"

namespace ZYNE::Linux {

// Runs `call`. False when it threw, which is logged as the failure of `what`.
template <typename Call>
bool GuardedCall(const char* what, Call call) noexcept {
    try {
        call();
        return true;
    } catch (const std::exception& error) {
        NetworkPrint(LogLevel::ERROR, "%{public}s failed with an exception: %{public}s", what, error.what());
    } catch (...) {
        NetworkPrint(LogLevel::ERROR, "%{public}s failed with an exception of unknown type", what);
    }
    return false;
}

}  // namespace ZYNE::Linux
