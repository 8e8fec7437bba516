// How the network logs.
#pragma once

#include <string>

#include "linux/base/log_domains.h"
#include "platform/host/picker_result.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {

inline constexpr LogDomain NETWORK_LOG = LogDomains::NETWORK;

// A udid or network id as it may be logged.
inline std::string Anonymous(const std::string& id) {
    return CollaborationFwk::PickerResult::StringToAnonymous(id);
}

template <typename... Args>
void NetworkPrint(
    LogLevel level, LogDetail::CheckedFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
    LogPrint<Args...>(LogType::CORE, level, NETWORK_LOG, format, args...);
}

}  // namespace ZYNE::Linux
