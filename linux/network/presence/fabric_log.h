// How the network half of a device logs.
#pragma once

#include "linux/base/log_domains.h"
#include "linux/network/link/network_log.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {

inline constexpr LogDomain FABRIC_LOG = LogDomains::FABRIC;

template <typename... Args>
void FabricPrint(
    LogLevel level, LogDetail::CheckedFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
    LogPrint<Args...>(LogType::CORE, level, FABRIC_LOG, format, args...);
}

}  // namespace ZYNE::Linux
