#include "companion/core/edge_push.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZYNE::Companion {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

const Desk DESK({{"one", 0, 0, 100, 100}});
constexpr EdgePush::TimePoint NOW{std::chrono::hours(1)};
constexpr Point RIGHT_EDGE{99, 50};

class EdgePushRules : public testing::Test {
protected:
    std::vector<Side> Push(Point at, double dx, double dy, EdgePush::TimePoint now = NOW) {
        return push.Push(DESK, rules, at, {dx, dy, dx, dy}, now);
    }

    CrossingRules rules;
    EdgePush push;
};

TEST_F(EdgePushRules, CrossAtOnceWithoutAPush) {
    EXPECT_THAT(Push({98, 50}, 5, 0), IsEmpty()) << "not there yet";
    EXPECT_THAT(Push(RIGHT_EDGE, -1, 0), IsEmpty()) << "inwards";
    EXPECT_THAT(Push(RIGHT_EDGE, 0, 5), IsEmpty()) << "along";
    EXPECT_THAT(Push(RIGHT_EDGE, 0.25, 0), ElementsAre(Side::RIGHT));
    EXPECT_THAT(Push({0, 0}, -1, -2), ElementsAre(Side::TOP, Side::LEFT)) << "the harder one first";
    EXPECT_THAT(Push({99, 99}, 2, 1), ElementsAre(Side::RIGHT, Side::BOTTOM));
}

TEST_F(EdgePushRules, CountFractionsOfAPushUntilThePointerLeavesTheEdge) {
    rules.push = 2;
    EXPECT_THAT(Push(RIGHT_EDGE, 0.75, 0), IsEmpty());
    EXPECT_THAT(Push(RIGHT_EDGE, 1, 0), IsEmpty());
    EXPECT_THAT(Push(RIGHT_EDGE, 0.25, 0), ElementsAre(Side::RIGHT));
    Push({98, 50}, -1, 0);
    EXPECT_THAT(Push(RIGHT_EDGE, 1.9, 0), IsEmpty()) << "begins anew";
    EXPECT_THAT(Push(RIGHT_EDGE, -1, 0), IsEmpty());
    EXPECT_THAT(Push(RIGHT_EDGE, 1, 0), IsEmpty()) << "what was taken back counts no more";
    EXPECT_THAT(Push(RIGHT_EDGE, 0.1, 0), ElementsAre(Side::RIGHT));
}

TEST_F(EdgePushRules, KeepCornersAndHeldEdges) {
    rules.corner = 10;
    EXPECT_THAT(Push({99, 9}, 1, 0), IsEmpty());
    EXPECT_THAT(Push({99, 10}, 1, 0), ElementsAre(Side::RIGHT));
    push.HoldOff(Side::RIGHT, NOW + 500ms);
    EXPECT_THAT(Push(RIGHT_EDGE, 9, 0, NOW + 499ms), IsEmpty());
    EXPECT_THAT(Push(RIGHT_EDGE, 1, 0, NOW + 500ms), ElementsAre(Side::RIGHT));
    push.HoldOff(Side::RIGHT, NOW + 500ms);
    Push({98, 50}, -1, 0);
    EXPECT_THAT(Push(RIGHT_EDGE, 1, 0), ElementsAre(Side::RIGHT)) << "it has left the edge";
}

TEST(CrossingRules, AskForAModifierAndForNoButton) {
    CrossingRules rules;
    EXPECT_TRUE(MayPass(rules, {}, {}));
    EXPECT_FALSE(MayPass(rules, {}, {1}));
    rules.drags = true;
    rules.modifier = {29, 97};
    EXPECT_TRUE(MayPass(rules, {97}, {1}));
    EXPECT_FALSE(MayPass(rules, {42}, {}));
    EXPECT_FALSE(AreHomeKeysHeld(rules, {1, 29, 56}));
    rules.homeKeys = {1, 29, 56};
    EXPECT_TRUE(AreHomeKeysHeld(rules, {1, 97, 100, 30}));
    EXPECT_FALSE(AreHomeKeysHeld(rules, {1, 29, 42}));
}

}  // namespace
}  // namespace ZYNE::Companion
