#define SD_JOURNAL_SUPPRESS_LOCATION

#include "linux/log/log_journal.h"

#include <array>
#include <charconv>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

#include <systemd/sd-journal.h>

#include "linux/log/log_line.h"

namespace ZYNE::Linux {
namespace {

int Priority(LogLevel level) {
    switch (level) {
    case LogLevel::DEBUG:
        return LOG_DEBUG;
    case LogLevel::INFO:
        return LOG_INFO;
    case LogLevel::WARN:
        return LOG_WARNING;
    case LogLevel::ERROR:
        return LOG_ERR;
    }
    return LOG_NOTICE;
}

std::string Hexadecimal(uint32_t number) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return "0x" + std::string(digits.data(), end);
}

}  // namespace

bool JournalRuns() {
    return access("/run/systemd/journal/socket", W_OK) == 0;
}

void SendToJournal(const std::string& device, const LogEntry& entry, std::string_view text) {
    std::string message = "MESSAGE=";
    AppendLogText(message, entry, text);
    std::array<std::string, 6> fields{std::move(message), "PRIORITY=" + std::to_string(Priority(entry.level)),
        "SYSLOG_IDENTIFIER=collabd", "COLLABORATION_DEVICE=" + device, "LOG_DOMAIN=" + Hexadecimal(entry.domain.id),
        std::string("LOG_TAG=") + entry.domain.tag};
    std::array<iovec, fields.size()> parts{};
    for (size_t i = 0; i < fields.size(); ++i) {
        parts[i] = {fields[i].data(), fields[i].size()};
    }
    sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

}  // namespace ZYNE::Linux
