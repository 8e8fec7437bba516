#include "tests/support/journal.h"

#include <algorithm>

namespace ZYNE::Testing {

void Journal::Call(const std::string& text) {
    std::lock_guard lock(mutex_);
    entries_.push_back({false, text, {}, {}, {}, {}});
}

void Journal::Print(LogType type, LogLevel level, const LogDomain& domain, std::string_view text) noexcept {
    const size_t bracket = text.find(']');
    const size_t hash = text.find("# ", bracket);
    const char letter = "DIWE"[static_cast<int>(level) - static_cast<int>(LogLevel::DEBUG)];
    std::lock_guard lock(mutex_);
    entries_.push_back({true, std::string(1, letter) + " " + domain.tag + ": " + std::string(text.substr(hash + 2)),
        std::string(text.substr(bracket + 1, hash - bracket - 1)), type, domain,
        std::string(text.substr(1, bracket - 1))});
}

std::vector<Journal::Entry> Journal::Entries() const {
    std::lock_guard lock(mutex_);
    return entries_;
}

std::vector<std::string> Journal::Texts(bool ofCalls, bool ofLines) const {
    std::vector<std::string> texts;
    for (const Entry& entry : Entries()) {
        if (entry.isLog ? ofLines : ofCalls) {
            texts.push_back(entry.text);
        }
    }
    return texts;
}

std::vector<std::string> Journal::Named() const {
    std::vector<std::string> texts;
    for (const Entry& entry : Entries()) {
        texts.push_back(entry.isLog ? entry.function + "# " + entry.text : entry.text);
    }
    return texts;
}

std::vector<std::string> Journal::LinesOf(const std::string& function) const {
    std::vector<std::string> lines;
    for (const Entry& entry : Entries()) {
        if (entry.isLog && entry.function == function) {
            lines.push_back(entry.text);
        }
    }
    return lines;
}

size_t Journal::CountCallsOf(const std::string& operation) const {
    const std::vector<std::string> calls = Calls();
    return static_cast<size_t>(std::count_if(
        calls.begin(), calls.end(), [&](const std::string& call) { return call.starts_with(operation + "("); }));
}

size_t Journal::Count(const std::string& text) const {
    const std::vector<std::string> all = All();
    return static_cast<size_t>(std::count(all.begin(), all.end(), text));
}

void Journal::Clear() {
    std::lock_guard lock(mutex_);
    entries_.clear();
}

}  // namespace ZYNE::Testing
