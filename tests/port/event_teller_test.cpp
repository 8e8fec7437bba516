// How a program that takes its time is told of the events of crossing.
#include <gtest/gtest.h>

#include <latch>
#include <numeric>
#include <stdexcept>
#include <vector>

#include "client/event_teller.h"

namespace ZYNE::Client {
namespace {

TEST(EventTeller, TellsInOrderWhatItHadRoomForWhileTheProgramWasBusyAndNothingOnceItHasStopped) {
    constexpr int32_t ROOM = EventTeller::MOST_WAITING;
    std::vector<int32_t> told;
    std::latch busy(1);
    std::latch goOn(1);
    std::latch done(ROOM + 1);
    EventTeller teller([&](const CrossingEvent& event) {
        told.push_back(std::get<KeyEvent>(event).code);
        if (told.size() == 1) {
            busy.count_down();
        }
        goOn.wait();
        done.count_down();
        if (told.size() == 1) {
            throw std::runtime_error("what one event meets does not keep the others");
        }
    });
    EXPECT_TRUE(teller.Add(KeyEvent{0, 1}));
    EXPECT_TRUE(told.empty()) << "before Start";
    teller.Start();
    busy.wait();
    for (int32_t code = 1; code <= ROOM; ++code) {
        EXPECT_TRUE(teller.Add(KeyEvent{code, 1}));
    }
    EXPECT_FALSE(teller.Add(KeyEvent{ROOM + 1, 1}));
    goOn.count_down();
    done.wait();
    teller.Stop();
    EXPECT_TRUE(teller.Add(KeyEvent{ROOM + 2, 1}));
    std::vector<int32_t> wanted(ROOM + 1);
    std::iota(wanted.begin(), wanted.end(), 0);
    EXPECT_EQ(told, wanted);
}

}  // namespace
}  // namespace ZYNE::Client
