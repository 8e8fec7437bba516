// How the device profile logs.
#pragma once

#include <string>

#include "platform/host/picker_result.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {

inline constexpr LogDomain PROFILE_LOG{0xD004701, "Profile"};

template <typename... Args>
void ProfilePrint(
    LogLevel level, LogDetail::CheckedFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
    LogPrint<Args...>(LogType::CORE, level, PROFILE_LOG, format, args...);
}

}  // namespace ZYNE::Linux
