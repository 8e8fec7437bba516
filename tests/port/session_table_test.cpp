#include "linux/network/control/session_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZYNE::Linux {
namespace {

using namespace std::chrono_literals;
using ::testing::UnorderedElementsAre;

class Sessions : public ::testing::Test {
protected:
    bool TakesAnswer(int32_t number, const std::string& networkId) {
        return table.TakeOpened(number, networkId).has_value();
    }

    SessionTable::Clock::time_point now{1h};
    SessionTable table{[this] {
        return now;
    }};
};

TEST_F(Sessions, TakeOneAnswerFromTheDeviceThatWasAskedUnlessItHasLeft) {
    const int32_t number = table.Open("desk", "00000000007-me");
    EXPECT_FALSE(TakesAnswer(number, "stranger"));
    EXPECT_FALSE(TakesAnswer(number + 1, "desk"));
    EXPECT_TRUE(TakesAnswer(number, "desk"));
    EXPECT_FALSE(TakesAnswer(number, "desk"));

    const int32_t asked = table.Open("desk", "1-a");
    table.Open("desk", "2-b");
    const int32_t other = table.Open("tablet", "3-c");
    const int32_t served = table.Serve("desk", 9, {});
    EXPECT_THAT(table.EndAllWith("desk"), UnorderedElementsAre("1-a", "2-b"));
    EXPECT_FALSE(TakesAnswer(asked, "desk"));
    EXPECT_EQ(table.FindServed(served), std::nullopt);
    EXPECT_TRUE(TakesAnswer(other, "tablet"));
}

TEST_F(Sessions, EndWhenTheyAreTooOldAndNotBefore) {
    const int32_t number = table.Open("desk", "1-a");
    now += SessionTable::MAX_AGE - 1s;
    table.EndOld();
    const int32_t served = table.Serve("desk", 9, {});
    EXPECT_EQ(table.FindServed(served), std::pair(std::string("desk"), 9));
    now += 2s;
    table.EndOld();
    EXPECT_FALSE(TakesAnswer(number, "desk"));
    EXPECT_NE(table.FindServed(served), std::nullopt);
}

}  // namespace
}  // namespace ZYNE::Linux
