// Log lines on their way from the threads that print them to the thread that writes them.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/log/log_service.h"

namespace ZYNE::Linux {

// One line, its text aside.
struct LogEntry {
    std::chrono::system_clock::time_point time;
    LogLevel level;
    LogDomain domain;
    size_t fullSize;  // of the text as it was printed
    bool shown;       // on standard error already
};

// Not shared between threads: its owner holds a lock. Texts lie one behind the other, so that a batch that is filled
// and cleared again and again allocates nothing.
class LogBatch {
public:
    // False, and counted as dropped, when the batch would grow beyond `mostBytes` of text.
    bool Add(const LogEntry& entry, std::string_view text, size_t mostBytes);

    bool Empty() const { return entries_.empty() && dropped_ == 0; }
    size_t Size() const { return entries_.size(); }
    size_t Dropped() const { return dropped_; }
    const LogEntry& Entry(size_t index) const { return entries_[index]; }
    std::string_view Text(size_t index) const;
    void Clear();

private:
    std::vector<LogEntry> entries_;
    std::vector<size_t> ends_;  // of each text in texts_
    std::string texts_;
    size_t dropped_ = 0;
};

}  // namespace ZYNE::Linux
