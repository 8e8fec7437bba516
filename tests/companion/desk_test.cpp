#include "companion/core/desk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ZYNE::Companion {
namespace {

using testing::Optional;

// A tall one to the right of a wide one, 200 lower; and below the first, after a gap of 20, a small one.
const Desk DESK({{"wide", -1000, 0, 1000, 600}, {"tall", 0, 200, 500, 800}, {"small", -1000, 620, 100, 100},
    {"nothing", 5000, 0, 0, 100}});

Placement Whole(const std::string& peer, Side side) {
    return {peer, side, "", {}, "", {}};
}

TEST(Desk, MovesAPointerOnItsScreensOnly) {
    struct Case {
        const char* what;
        Point from;
        Point by;
        Point to;
    };
    for (const Case& each : std::vector<Case>{{"freely", {-500, 300}, {-7, 9}, {-507, 309}},
             {"over an inner edge", {-10, 300}, {30, 0}, {20, 300}},
             {"to an edge, and slides there", {-10, 100}, {30, 20}, {-1, 120}},
             {"around a corner", {-10, 190}, {30, 20}, {20, 210}},
             {"not over a gap", {-950, 590}, {0, 100}, {-950, 599}},
             {"not over a gap with a leap", {-950, 590}, {0, 1 << 30}, {-950, 599}},
             {"into a corner", {490, 990}, {1 << 30, 1 << 30}, {499, 999}},
             {"from outside, after it was brought in", {-950, 605}, {0, -5}, {-950, 594}}}) {
        EXPECT_EQ(PixelOf(DESK.Moved(CentreOf(each.from), each.by.x * PIXEL, each.by.y * PIXEL)), each.to) << each.what;
    }
    const Position nowhere{5, 7};
    EXPECT_EQ(Desk().Moved(nowhere, 1, 1), nowhere);
    EXPECT_EQ(PixelOf({-1, -PIXEL}), (Point{-1, -1}));
}

TEST(Desk, KeepsTheFractionOfEachMove) {
    Position at = CentreOf({-500, 300});
    const Position start = at;
    for (int count = 0; count < 10000; ++count) {
        at = DESK.Moved(at, count % 2 == 0 ? 70001 : -70003, 3);
    }
    EXPECT_EQ(at, (Position{start.x - 10000, start.y + 30000}));
}

TEST(Desk, KnowsWhatLiesOverWhichEdge) {
    const std::vector<Placement> placements{Whole("right", Side::RIGHT), Whole("left", Side::LEFT),
        Whole("below", Side::BOTTOM), {"gap", Side::BOTTOM, "wide", {0, 50}, "", {}},
        {"upper", Side::TOP, "tall", {0, 50}, "HDMI", {50, 100}}};
    struct Case {
        const char* what;
        Point at;
        Side side;
        std::string peer;
        int place;
    };
    for (const Case& each : std::vector<Case>{{"the outer edge", {499, 200}, Side::RIGHT, "right", 13139},
             {"not before it", {498, 300}, Side::RIGHT, "", 0},
             {"not the side beside it", {499, 300}, Side::LEFT, "", 0},
             {"not an inner edge", {-1, 300}, Side::RIGHT, "", 0},
             {"what sticks out beside an inner edge", {-1, 199}, Side::RIGHT, "right", 13073},
             {"what sticks out at the other", {0, 700}, Side::LEFT, "", 0},
             {"a free edge with nothing farther out", {0, 800}, Side::LEFT, "left", 52461},
             {"a gap, for what is placed there", {-950, 599}, Side::BOTTOM, "gap", 6619},
             {"a gap, not for the whole desk", {-1000, 599}, Side::TOP, "", 0},
             {"the lower end of a part", {-501, 599}, Side::BOTTOM, "gap", 65469},
             {"beside the part, the whole desk", {-500, 599}, Side::BOTTOM, "below", 21867},
             {"a part of the other side", {0, 200}, Side::TOP, "upper", 32833}}) {
        const std::optional<Crossing> crossing = DESK.Over(each.at, each.side, placements);
        EXPECT_EQ(crossing ? crossing->peer : "", each.peer) << each.what;
        if (crossing) {
            EXPECT_NEAR(crossing->gate.place, each.place, 1) << each.what;
            EXPECT_EQ(crossing->gate.side, Opposite(each.side));
            EXPECT_EQ(crossing->gate.display, each.peer == "upper" ? "HDMI" : "");
        }
    }
}

TEST(Desk, LetsAPointerInAtTheSameHeightAndALittleInside) {
    struct Case {
        const char* what;
        Gate gate;
        Point at;
    };
    for (const Case& each :
        std::vector<Case>{{"left", {Side::LEFT, "", 0}, {-998, 0}}, {"right end", {Side::RIGHT, "", 65535}, {497, 999}},
            {"above the tall one", {Side::TOP, "", 50000}, {144, 202}},
            {"right, where only the wide one is", {Side::RIGHT, "", 6554}, {-3, 100}},
            {"in the gap, the screen behind it", {Side::LEFT, "", 39976}, {2, 609}},
            {"a display", {Side::BOTTOM, "wide", 32768}, {-500, 597}},
            {"a display that is gone", {Side::LEFT, "old", 0}, {-998, 0}}}) {
        EXPECT_EQ(DESK.Entry(each.gate), each.at) << each.what;
    }
    EXPECT_EQ(Desk({{"one", 0, 0, 9, 9}, {"two", 19, 0, 9, 9}}).Entry({Side::TOP, "", 26000}), (Point{8, 2}));
    EXPECT_EQ(Desk({{"dot", 3, 4, 1, 1}}).Entry({Side::LEFT, "", 65535}), (Point{3, 4}));
    EXPECT_EQ(Desk().Entry({Side::LEFT, "", 5}), (Point{}));
}

TEST(Desk, BringsAPointerToTheSamePixelOfAnEqualSide) {
    const Desk desk({{"one", 10, 20, 1920, 1080}});
    for (int32_t y = 20; y < 1100; ++y) {
        const std::optional<Crossing> crossing = desk.Over({1929, y}, Side::RIGHT, {Whole("peer", Side::RIGHT)});
        ASSERT_TRUE(crossing);
        ASSERT_EQ(desk.Entry(crossing->gate), (Point{12, y}));
    }
}

TEST(Desk, FindsCornersAtTheEndsOfAnEdgeOnly) {
    EXPECT_TRUE(DESK.IsNearCorner({499, 205}, Side::RIGHT, 10));
    EXPECT_FALSE(DESK.IsNearCorner({499, 205}, Side::RIGHT, 5));
    EXPECT_TRUE(DESK.IsNearCorner({-5, 0}, Side::TOP, 10));
    const Desk stack({{"one", 0, 0, 100, 100}, {"two", 0, 100, 100, 100}});
    EXPECT_FALSE(stack.IsNearCorner({99, 99}, Side::RIGHT, 50));
    EXPECT_EQ(DESK.Nearest({-200, 650}), (Point{-200, 599}));
}

}  // namespace
}  // namespace ZYNE::Companion
