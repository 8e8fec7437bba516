#include "bench/crossing_latency_visit.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "tests/scenario/process.h"

namespace ZYNE::Bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;

constexpr auto STEP_TIME = 8ms;
constexpr auto REST = 300ms;
constexpr auto LIMIT = 3s;  // for what is still on the way

bool IsAny(const std::vector<Seen>& seen) {
    return !seen.empty();
}

// `asked` are motions of one pixel each, from `start` on.
void MatchMotions(
    const std::vector<Clock::time_point>& asked, double start, const std::vector<Seen>& seen, Figures& figures) {
    auto at = seen.begin();
    auto last = seen.end();
    for (size_t i = 0; i < asked.size(); ++i) {
        const double place = start + static_cast<double>(i + 1);
        at = std::find_if(at, seen.end(), [place](const Seen& event) { return event.x >= place; });
        if (at == seen.end()) {
            figures.lost += static_cast<int>(asked.size() - i);
            return;
        }
        figures.latencies.Add(at->at - asked[i]);
        figures.merged += at == last ? 1 : 0;
        last = at;
    }
}

void MatchKeys(const std::vector<Clock::time_point>& asked, const std::vector<Seen>& seen, Figures& figures) {
    auto from = seen.begin();
    for (size_t i = 0; i < asked.size(); ++i) {
        const KeyPress key = KeyOf(static_cast<int>(i));
        const auto found = std::find_if(from, seen.end(),
            [key](const Seen& event) { return event.code == key.code && event.isDown == key.isDown; });
        if (found == seen.end()) {
            ++figures.lost;
            continue;
        }
        figures.latencies.Add(found->at - asked[i]);
        from = found + 1;
    }
}

}  // namespace

KeyPress KeyOf(int number) {
    constexpr std::array<uint8_t, 9> ROW{38, 39, 40, 41, 42, 43, 44, 45, 46};
    return {ROW.at(static_cast<size_t>(number / 2) % ROW.size()), number % 2 == 0};
}

void Visit::GoAway() {
    Watcher watcher(right_, false);
    const auto arrives = [&] {
        person_.Move(LEFT_WIDTH / 3);
        return watcher.WaitUntil(IsAny, 100ms);
    };
    if (!Testing::Eventually(arrives)) {
        throw std::runtime_error("the pointer does not cross");
    }
    std::this_thread::sleep_for(REST);
}

// At home it is when nothing of what the person does is seen at the right display.
void Visit::GoHome() {
    Watcher watcher(right_, false);
    const auto isHome = [&] {
        person_.Move(-LEFT_WIDTH / 2);
        std::this_thread::sleep_for(100ms);
        watcher.Take();
        // Two that cannot be merged: at the lower or upper edge one of them is nothing.
        for (const auto dy : {int16_t{3}, int16_t{-3}}) {
            person_.Move(0, dy);
            std::this_thread::sleep_for(100ms);
        }
        return watcher.Take().empty();
    };
    if (!Testing::Eventually(isHome)) {
        throw std::runtime_error("the pointer does not come home");
    }
    std::this_thread::sleep_for(REST);
}

void Visit::MeasureMotions(microseconds pace, Figures& figures) {
    Watcher watcher(right_, false);
    person_.Move(1);
    std::this_thread::sleep_for(REST);
    const std::vector<Seen> first = watcher.Take();
    if (first.empty()) {
        throw std::runtime_error("the pointer is not on the right display");
    }
    const double start = first.back().x;
    const auto asked = AtPace(pace, MOTIONS, [&](int) { return person_.Move(1); });
    watcher.WaitUntil([&](const auto& seen) { return !seen.empty() && seen.back().x >= start + MOTIONS; }, LIMIT);
    MatchMotions(asked, start, watcher.Take(), figures);
    AtPace(STEP_TIME, 4, [&](int) { return person_.Move(-MOTIONS / 4); });
    std::this_thread::sleep_for(REST);
}

std::vector<Seen> Visit::MeasureKeys(microseconds pace, int count, Figures& figures) {
    Watcher watcher(right_, false);
    const auto asked = AtPace(pace, count, [&](int number) {
        const KeyPress key = KeyOf(number);
        return person_.Press(key.code, key.isDown);
    });
    watcher.WaitUntil([&](const auto& seen) { return seen.size() >= asked.size(); }, LIMIT);
    std::vector<Seen> seen = watcher.Take();
    MatchKeys(asked, seen, figures);
    return seen;
}

void Visit::MoveQuickly(std::chrono::seconds time) {
    AtPace(1ms, static_cast<int>(time / 1ms),
        [&](int number) { return person_.Move(number / MOTIONS % 2 == 0 ? 1 : -1); });
}

void Visit::MeasureEdge(Figures& figures) {
    constexpr int16_t STEP = 20;
    Watcher watcher(right_, true);
    person_.Move(-STEP * 10);
    std::this_thread::sleep_for(REST);
    // The last step is the one that comes to the edge.
    const int32_t way = LEFT_WIDTH - 1 - person_.PointerX();
    person_.Move(static_cast<int16_t>(way % STEP));
    std::this_thread::sleep_for(REST);
    watcher.Take();
    const auto asked = AtPace(STEP_TIME, way / STEP, [&](int) { return person_.Move(STEP); });
    if (watcher.WaitUntil(IsAny, LIMIT)) {
        figures.latencies.Add(watcher.Take().front().at - asked.back());
    } else {
        ++figures.lost;
    }
    std::this_thread::sleep_for(REST);
    GoHome();
}

}  // namespace ZYNE::Bench
