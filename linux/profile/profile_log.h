// How the device profile logs.
#pragma once

#include <string>

#include "linux/base/log_domains.h"
#include "platform/host/picker_result.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {

inline constexpr LogDomain PROFILE_LOG = LogDomains::PROFILE;

template <typename... Args>
void ProfilePrint(
    LogLevel level, LogDetail::CheckedFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
    LogPrint<Args...>(LogType::CORE, level, PROFILE_LOG, format, args...);
}

}  // namespace ZYNE::Linux
