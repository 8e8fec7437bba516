// Everything that a simulated device did, in order: calls into its services and log lines.
#pragma once

#include <functional>
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

    void Call(const std::string& text) {
        std::lock_guard lock(mutex_);
        entries_.push_back({false, text, {}, {}, {}, {}});
    }
    // Takes the "[file:line]function# " head off the line.
    void Print(LogType type, LogLevel level, const LogDomain& domain, std::string_view text) noexcept override {
        const size_t bracket = text.find(']');
        const size_t hash = text.find("# ", bracket);
        const char letter = "DIWE"[static_cast<int>(level) - static_cast<int>(LogLevel::DEBUG)];
        std::lock_guard lock(mutex_);
        entries_.push_back({true, std::string(1, letter) + " " + domain.tag + ": " + std::string(text.substr(hash + 2)),
            std::string(text.substr(bracket + 1, hash - bracket - 1)), type, domain,
            std::string(text.substr(1, bracket - 1))});
    }

    std::vector<Entry> Entries() const {
        std::lock_guard lock(mutex_);
        return entries_;
    }
    std::vector<std::string> Calls() const {
        return Texts([](const Entry& entry) { return !entry.isLog; });
    }
    std::vector<std::string> Lines() const {
        return Texts([](const Entry& entry) { return entry.isLog; });
    }
    // The lines that `function` logged.
    std::vector<std::string> LinesOf(const std::string& function) const {
        return Texts([&](const Entry& entry) { return entry.isLog && entry.function == function; });
    }
    // Calls and lines together.
    std::vector<std::string> All() const {
        return Texts([](const Entry&) { return true; });
    }
    // How often `text` stands in it.
    size_t Count(const std::string& text) const {
        return Texts([&](const Entry& entry) { return entry.text == text; }).size();
    }
    bool Has(const std::string& text) const { return Count(text) > 0; }
    // How often `operation` was called, whatever with.
    size_t CountCallsOf(const std::string& operation) const { return CallsOf(operation).size(); }
    std::vector<std::string> CallsOf(const std::string& operation) const {
        return Texts([&](const Entry& entry) { return !entry.isLog && entry.text.starts_with(operation + "("); });
    }
    void Clear() {
        std::lock_guard lock(mutex_);
        entries_.clear();
    }

private:
    std::vector<std::string> Texts(const std::function<bool(const Entry& entry)>& fits) const {
        std::vector<std::string> texts;
        std::lock_guard lock(mutex_);
        for (const Entry& entry : entries_) {
            if (fits(entry)) {
                texts.push_back(entry.text);
            }
        }
        return texts;
    }

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;  // guarded by mutex_
};

}  // namespace ZYNE::Testing
