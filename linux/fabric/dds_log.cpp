#include "linux/fabric/dds_log.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>

#include <dds/ddsrt/log.h>

#include "linux/fabric/fabric_log.h"

namespace ZYNE::Linux {
namespace {

constexpr std::string_view COMMON_NAME = "CN=";
constexpr size_t MOST_BYTES = 500;

// A device of another account in reach makes the library complain of it every second, and whoever sends it rubbish of
// each datagram. In this time no line is printed twice, and not more than so many.
constexpr std::chrono::minutes REPEAT_AFTER{1};
constexpr size_t MOST_LINES = 64;

using Clock = std::chrono::steady_clock;

struct Complaints {
    std::mutex mutex;
    std::string lastError;                             // guarded by mutex
    std::map<std::string, Clock::time_point> printed;  // guarded by mutex; when each line was printed
};

Complaints& GetComplaints() {
    static auto& complaints = *new Complaints();
    return complaints;
}

// Whether the line is to be printed, and remembers that it was.
bool IsDue(std::map<std::string, Clock::time_point>& printed, const std::string& line) {
    const Clock::time_point now = Clock::now();
    std::erase_if(printed, [&](const auto& entry) { return now - entry.second > REPEAT_AFTER; });
    return printed.size() < MOST_LINES && printed.emplace(line, now).second;
}

std::string MaskNames(std::string_view text) {
    std::string masked;
    for (size_t at = text.find(COMMON_NAME); at != std::string_view::npos; at = text.find(COMMON_NAME)) {
        const size_t name = at + COMMON_NAME.size();
        const size_t end = std::min(text.find_first_of(" ,/'\"()<>", name), text.size());
        masked += text.substr(0, name);
        masked += Anonymous(std::string(text.substr(name, end - name)));
        text.remove_prefix(end);
    }
    return masked.append(text);
}

std::string AsOneLine(const dds_log_data_t& data) {
    std::string_view text(data.message, std::min(data.size, MOST_BYTES));
    text = text.substr(0, text.find('\0'));
    std::string line = MaskNames(text);
    std::ranges::replace(line, '\n', ' ');
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

// Called under the library's own locks.
void Print(void* /*context*/, const dds_log_data_t* data) {
    constexpr uint32_t PRINTED = DDS_LC_FATAL | DDS_LC_ERROR | DDS_LC_WARNING;
    if ((data->priority & PRINTED) == 0) {
        return;
    }
    try {
        const std::string line = AsOneLine(*data);
        Complaints& complaints = GetComplaints();
        const std::scoped_lock lock(complaints.mutex);
        if ((data->priority & DDS_LC_WARNING) == 0) {
            complaints.lastError = line;
        }
        if (IsDue(complaints.printed, line)) {
            FabricPrint(LogLevel::WARN, "transport: %{public}s", line);
        }
    } catch (...) {
        FabricPrint(LogLevel::WARN, "a line of the transport is lost");
    }
}

void Ignore(void* /*context*/, const dds_log_data_t* /*data*/) {}

}  // namespace

void RouteDdsLog() {
    dds_set_log_sink(Print, nullptr);
    // What goes to the trace as well has been printed by the sink already.
    dds_set_trace_sink(Ignore, nullptr);
}

std::string TakeLastDdsError() {
    Complaints& complaints = GetComplaints();
    const std::scoped_lock lock(complaints.mutex);
    return std::exchange(complaints.lastError, {});
}

}  // namespace ZYNE::Linux
