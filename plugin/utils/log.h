// The library's log lines: "[file:line]function# " and the message.
//
//     constexpr LogDomain LOG = LogDomains::COLLECTION;  // one at the top of each unit
//     CFWK_LOGI(LOG, "info %{public}s Sa get result %{public}s", name, value);
//
// Formats are checked when they are compiled, see platform/log/log_print.h. Inside a lambda the function's name would
// read "operator()": log in named functions. A helper that several operations share logs with CFWK_LOG_AS and the name
// of the operation, which is what people search for.
#pragma once

#include "platform/log/log_print.h"

namespace ZYNE::CollaborationFwk::LogDomains {

inline constexpr LogDomain CFWK_SERVICE{0xD004615, "CFWKService"};
inline constexpr LogDomain CFWK_CALLBACK{0xD004616, "CFWKCallback"};
inline constexpr LogDomain DEVICE_DETECT{0xD004617, "DeviceDetect"};
inline constexpr LogDomain COLLECTION{0xD00461B, "Collection"};
inline constexpr LogDomain DETECT{0xD00461C, "Detect"};
inline constexpr LogDomain DATASHARE{0xD00461D, "Datashare"};

}  // namespace ZYNE::CollaborationFwk::LogDomains

#define CFWK_LOG_AS(level, domain, operation, format, ...)                                                             \
    ::ZYNE::LogPrint(::ZYNE::LogType::CORE, ::ZYNE::LogLevel::level, domain,                                           \
        "[%{public}s:%{public}d]%{public}s# " format, __FILE_NAME__, __LINE__, operation __VA_OPT__(, ) __VA_ARGS__)

#define CFWK_LOG(level, domain, format, ...) CFWK_LOG_AS(level, domain, __FUNCTION__, format __VA_OPT__(, ) __VA_ARGS__)

#define CFWK_LOGD(domain, format, ...) CFWK_LOG(DEBUG, domain, format __VA_OPT__(, ) __VA_ARGS__)
#define CFWK_LOGI(domain, format, ...) CFWK_LOG(INFO, domain, format __VA_OPT__(, ) __VA_ARGS__)
#define CFWK_LOGW(domain, format, ...) CFWK_LOG(WARN, domain, format __VA_OPT__(, ) __VA_ARGS__)
#define CFWK_LOGE(domain, format, ...) CFWK_LOG(ERROR, domain, format __VA_OPT__(, ) __VA_ARGS__)
