// What a person does at the left of two displays while something brings the pointer to the right one, and what is seen
// of it there.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/crossing_latency_display.h"
#include "bench/latencies.h"

namespace ZYNE::Bench {

inline constexpr int32_t LEFT_WIDTH = 1280;  // of the left display
inline constexpr int MOTIONS = 1000;         // in a row; the right display is much wider

struct Figures {
    Latencies latencies;
    int lost = 0;
    int merged = 0;
};

// When each of `count` things happened that `act` does at this pace.
template <typename Act>
std::vector<Clock::time_point> AtPace(std::chrono::microseconds pace, int count, Act act) {
    std::vector<Clock::time_point> times;
    auto next = Clock::now();
    for (int i = 0; i < count; ++i) {
        next += pace;
        std::this_thread::sleep_until(next);
        times.push_back(act(i));
    }
    return times;
}

struct KeyPress {
    uint8_t code;  // as the server counts
    bool isDown;
};
// Letters, each pressed and let go.
KeyPress KeyOf(int number);

// A motion is of one pixel to the right, and counts as arrived with the first event that reports its place or one
// beyond: what a program merges is seen in time. Motions whose event is not their own are counted as merged, those whose
// place is never reached as lost. Keys are matched in their order.
class Visit {
public:
    Visit(const std::string& left, std::string right) : person_(left), right_(std::move(right)) {}

    // Each throws std::runtime_error when the pointer does not go there.
    void GoAway();
    void GoHome();

    // While it is away.
    void MeasureMotions(std::chrono::microseconds pace, Figures& figures);
    // What was seen at the right display.
    std::vector<Seen> MeasureKeys(std::chrono::microseconds pace, int count, Figures& figures);
    // A mouse of 1 kHz.
    void MoveQuickly(std::chrono::seconds time);

    // From home, and back there: the pointer comes to the edge as a hand moves it.
    void MeasureEdge(Figures& figures);

private:
    Person person_;
    const std::string right_;
};

}  // namespace ZYNE::Bench
