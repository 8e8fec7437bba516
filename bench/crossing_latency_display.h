// A person at one display, and whoever looks at another.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "linux/base/unique_fd.h"
#include "linux/desktop/x_link.h"

namespace ZYNE::Bench {

using Clock = std::chrono::steady_clock;

// Moves the mouse and presses keys. One thread at a time.
class Person {
public:
    explicit Person(const std::string& display);

    // By so many pixels; when the server was asked.
    Clock::time_point Move(int16_t dx, int16_t dy = 0);
    // `code` as the server counts.
    Clock::time_point Press(uint8_t code, bool isDown);
    // Where the display's pointer is.
    int32_t PointerX();

private:
    Clock::time_point Fake(uint8_t type, uint8_t detail, int16_t x, int16_t y);

    const Linux::XLink link_;
};

// What happened at a display.
struct Seen {
    enum class Kind : uint8_t { MOTION, KEY, PRESENCE };
    Kind kind = Kind::MOTION;
    Clock::time_point at;
    double x = 0;       // of a motion: what the device reported, a coordinate or a distance
    uint32_t code = 0;  // of a key
    bool isDown = false;
};

// Keeps all raw events of motion and keys of a display from now on, with the time at which each was here; when
// `withPresence`, also what moves the pointer without a device. A thread of its own.
class Watcher {
public:
    Watcher(const std::string& display, bool withPresence);
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;
    ~Watcher();

    // Any thread. What has come since the last Take, without it.
    std::vector<Seen> Take();
    // Whether `enough` of what has come since the last Take, in time. It is asked under the lock of the events.
    bool WaitUntil(const std::function<bool(const std::vector<Seen>&)>& enough, std::chrono::milliseconds limit);

private:
    void Work();
    void Keep(const xcb_generic_event_t& event);

    const Linux::XLink link_;
    const Linux::UniqueFd stop_;
    uint8_t opcode_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Seen> seen_;  // guarded by mutex_
    std::thread thread_;      // last: it uses the others
};

}  // namespace ZYNE::Bench
