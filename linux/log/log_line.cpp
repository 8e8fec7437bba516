#include "linux/log/log_line.h"

#include <array>
#include <chrono>
#include <cstdint>

#include "platform/log/printable_text.h"

namespace ZYNE::Linux {
namespace {

char LevelLetter(LogLevel level) {
    switch (level) {
    case LogLevel::DEBUG:
        return 'D';
    case LogLevel::INFO:
        return 'I';
    case LogLevel::WARN:
        return 'W';
    case LogLevel::ERROR:
        return 'E';
    }
    return '?';
}

std::string FormatSecond(std::time_t second) {
    std::tm parts{};
    localtime_r(&second, &parts);
    std::array<char, 32> text{};
    const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    return {text.data(), length};
}

}  // namespace

void AppendLogText(std::string& out, const LogEntry& entry, std::string_view text) {
    AppendPrintable(out, text);
    if (text.size() < entry.fullSize) {
        out += "... (" + std::to_string(entry.fullSize) + " bytes)";
    }
}

void LogLineFormatter::Append(std::string& out, const LogEntry& entry, std::string_view text) {
    const std::time_t second = std::chrono::system_clock::to_time_t(entry.time);
    if (second != second_) {
        second_ = second;
        secondText_ = FormatSecond(second);
    }
    const auto sinceEpoch =
        std::chrono::duration_cast<std::chrono::milliseconds>(entry.time.time_since_epoch()).count();
    const std::string milliseconds = std::to_string(1000 + sinceEpoch % 1000);  // a 1 and the three digits
    out += secondText_;
    out += '.';
    out += std::string_view(milliseconds).substr(1);
    out += ' ';
    out += LevelLetter(entry.level);
    out += ' ';
    out += entry.domain.tag;
    out += ": ";
    AppendLogText(out, entry, text);
    out += '\n';
}

}  // namespace ZYNE::Linux
