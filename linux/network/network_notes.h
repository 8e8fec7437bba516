// What people should know of the network: in the log, now and then, and in the status while it lasts.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/network/network_status.h"

namespace ZYNE::Linux {

// Any thread. What is noted again and again, as by a stranger who knocks, costs one line of the log a minute.
class NetworkNotes {
public:
    using Clock = std::chrono::steady_clock;
    using Note = NetworkStatus::Note;

    static constexpr std::chrono::seconds LASTS{60};
    // More are not kept, nor logged in a minute.
    static constexpr size_t MAX_NOTES = 32;

    explicit NetworkNotes(std::function<Clock::time_point()> now = Clock::now) : now_(std::move(now)) {}

    void Add(const std::string& kind, const std::string& text);

    // Those of the last minute, the latest first.
    std::vector<Note> Recent();

private:
    struct Kept {
        Note note;
        Clock::time_point at;      // when it was noted last
        Clock::time_point logged;  // when it was logged last
    };

    bool MayLog(Clock::time_point now) REQUIRES(mutex_);

    const std::function<Clock::time_point()> now_;
    Mutex mutex_;
    std::list<Kept> notes_ GUARDED_BY(mutex_);       // the latest in front
    Clock::time_point minute_ GUARDED_BY(mutex_){};  // when the one that runs began
    size_t logged_ GUARDED_BY(mutex_) = 0;           // in this minute
    size_t suppressed_ GUARDED_BY(mutex_) = 0;       // likewise
};

}  // namespace ZYNE::Linux
