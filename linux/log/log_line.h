// The form of a log line for people: "2026-01-31 14:05:59.123 I Collection: text".
#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>

#include "linux/log/log_batch.h"

namespace ZYNE::Linux {

// Longer texts are cut, in bytes.
inline constexpr size_t MAX_LINE_BYTES = 4096;

// Appends the text of a line: escaped, with its full size at the end where it was cut.
void AppendLogText(std::string& out, const LogEntry& entry, std::string_view text);

// Formats whole lines. Remembers the second that it formatted last.
class LogLineFormatter {
public:
    // Appends the line and a line feed, the time in the machine's time zone.
    void Append(std::string& out, const LogEntry& entry, std::string_view text);

private:
    std::time_t second_ = -1;
    std::string secondText_;
};

}  // namespace ZYNE::Linux
