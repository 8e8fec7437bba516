// Everything that a simulated device did, in order: calls into its services and log lines.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/log/log_service.h"

namespace ZYNE::Testing {

// Any thread.
class Journal final : public LogService {
public:
    struct Entry {
        bool isLog;
        std::string text;      // a call as "Name(arguments)"; a line as "E Collection: message"
        std::string function;  // that logged the line
        // Of a line: what was printed with it, and "file:line".
        LogType type{};
        LogDomain domain{};
        std::string place;
    };

    void Call(const std::string& text);
    // Takes the "[file:line]function# " head off the line.
    void Print(LogType type, LogLevel level, const LogDomain& domain, std::string_view text) noexcept override;

    std::vector<std::string> Calls() const { return Texts(true, false); }
    std::vector<std::string> Lines() const { return Texts(false, true); }
    // Calls and lines together.
    std::vector<std::string> All() const { return Texts(true, true); }
    // The same with "function# " before each line.
    std::vector<std::string> Named() const;
    std::vector<Entry> Entries() const;
    // The lines that `function` logged.
    std::vector<std::string> LinesOf(const std::string& function) const;
    // How often `text` stands in it.
    size_t Count(const std::string& text) const;
    bool Has(const std::string& text) const { return Count(text) > 0; }
    // How often `operation` was called, whatever with.
    size_t CountCallsOf(const std::string& operation) const;
    void Clear();

private:
    std::vector<std::string> Texts(bool ofCalls, bool ofLines) const;

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;  // guarded by mutex_
};

}  // namespace ZYNE::Testing
