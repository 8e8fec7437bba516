// Where log lines go: the journal, a file, or a test's list.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "platform/export.h"

namespace ZYNE {

enum class LogType : int32_t { CORE = 3 };

enum class LogLevel : int32_t { DEBUG = 3, INFO = 4, WARN = 5, ERROR = 6 };

// Groups the lines of one part of the system; the tag is the domain's name for people.
struct LogDomain {
    uint32_t id;
    const char* tag;
};

// Any thread, also while libraries are initialised and torn down: a port builds it on first use and never destroys it.
class PLATFORM_API LogService {
public:
    static LogService& GetInstance();  // defined by the port

    // Takes one line. `text` may hold any bytes and may be of any length: the port cuts and escapes it as its sink
    // needs, and copies what it keeps before it returns. Never throws; must not log.
    virtual void Print(LogType type, LogLevel level, const LogDomain& domain, std::string_view text) noexcept = 0;

    // The least level that is printed, and whether %{private} values are shown; a port sets them.
    static inline std::atomic<LogLevel> minLevel{LogLevel::INFO};
    static inline std::atomic<bool> showPrivate{false};

protected:
    ~LogService() = default;
};

}  // namespace ZYNE
