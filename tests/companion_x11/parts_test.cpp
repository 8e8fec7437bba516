// What needs no X server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "companion/x11/latin1.h"
#include "companion/x11/motion_meter.h"
#include "companion/x11/own_events.h"

namespace ZYNE::Companion {

static bool operator==(const Distance& one, const Distance& other) {
    return one.dx == other.dx && one.dy == other.dy;
}

namespace {

using Kind = OwnEvents::Kind;

class Meter : public testing::Test {
protected:
    Meter() {
        meter.SetSize(1000, 500);
        meter.SetDevices({{1, {}}, {2, {MotionDevice::Kind::COORDINATES, {0, 99}, {100, 199}}},
            {3, {MotionDevice::Kind::EITHER, {}, {}}}});
        meter.SetPointer({500, 250});
    }
    MotionMeter meter;
};

TEST_F(Meter, CountsDistancesWithTheirFractionAndScalesCoordinates) {
    EXPECT_EQ(meter.Add(1, {0.25, -0.5}), (Distance{0.25, -0.5}));
    EXPECT_EQ(meter.Add(7, {2, std::nullopt}), (Distance{2, 0}));
    meter.SetPointer({500, 250});
    EXPECT_EQ(meter.Add(2, {60, std::nullopt}), (Distance{100, 0}));
    EXPECT_EQ(meter.Add(2, {60, 100}), (Distance{0, -250}));
    EXPECT_FALSE(meter.IsWaiting());
    EXPECT_EQ(meter.Settle({1, 1}), (Distance{0, 0}));
}

TEST_F(Meter, SeesFromThePointerWhatADeviceMeans) {
    EXPECT_EQ(meter.Add(3, {10, 20}), (Distance{0, 0}));
    EXPECT_TRUE(meter.IsWaiting());
    EXPECT_EQ(meter.Settle({510, 270}), (Distance{10, 20}));
    meter.Add(3, {10, 20});
    meter.Add(3, {30, 20});
    EXPECT_EQ(meter.Settle({30, 20}), (Distance{-480, -250}));
    // At the edge both are true: what it did last counts.
    meter.SetPointer({0, 0});
    meter.Add(3, {5, 5});
    EXPECT_EQ(meter.SettleByHabit(), (Distance{5, 5}));
    // Over the edge only the distance makes sense.
    meter.SetPointer({900, 0});
    meter.Add(3, {300, 0});
    EXPECT_EQ(meter.Settle({999, 0}), (Distance{300, 0}));
}

TEST_F(Meter, GoesOnFromWhereThePointerWasWhenItIsDetached) {
    meter.Detach({500, 250});
    meter.SetPointer({500, 250});
    meter.Add(3, {10, 0});
    EXPECT_EQ(meter.Settle({510, 250}), (Distance{10, 0}));
    meter.SetPointer({500, 250});  // put back
    meter.Add(3, {520, 300});
    EXPECT_EQ(meter.Settle({520, 300}), (Distance{10, 50}));
    meter.Attach({5, 5});
    meter.Add(3, {520, 300});
    EXPECT_EQ(meter.Settle({520, 300}), (Distance{515, 295}));
}

TEST(OwnEventsOf, AnInjectionAreTheFirstWithItsNumberOrItsContent) {
    OwnEvents own;
    const OwnEvents::Event down{Kind::BUTTON, true, 1, {}};
    const OwnEvents::Event up{Kind::BUTTON, false, 1, {}};
    own.Add(10, down);
    own.Add(11, up);
    EXPECT_TRUE(own.Expects(Kind::BUTTON, 1));
    EXPECT_FALSE(own.Expects(Kind::KEY, 1));
    EXPECT_FALSE(own.Take(9, down)) << "somebody else's, before ours";
    EXPECT_TRUE(own.Take(10, down));
    EXPECT_FALSE(own.Take(10, down)) << "somebody else's, after ours";
    EXPECT_FALSE(own.Take(11, {Kind::BUTTON, false, 2, {}}));
    EXPECT_TRUE(own.Take(15, up)) << "late, as a program had frozen the pointer";
    EXPECT_FALSE(own.Expects(Kind::BUTTON, 1));

    own.Add(20, {Kind::MOTION, false, 0, {1, 1}});
    own.Add(21, {Kind::MOTION, false, 0, {2, 2}});
    own.Add(21, {Kind::KEY, true, 38, {}});
    EXPECT_TRUE(own.Take(21, {Kind::MOTION, false, 0, {2, 2}}));
    EXPECT_FALSE(own.Take(25, {Kind::MOTION, false, 0, {1, 1}})) << "the first made no event, or it had come";
    EXPECT_TRUE(own.Take(25, {Kind::KEY, true, 38, {}})) << "the keyboard is another device";
    own.Add(0xfffffffeU, down);
    own.Add(1, up);
    own.Drop(0xfffffffeU);
    EXPECT_FALSE(own.Take(1, down));
    EXPECT_TRUE(own.Take(1, up));
}

TEST(Latin1, GoesThereAndBackAndHasAMarkForTheRest) {
    EXPECT_EQ(Latin1ToUtf8("a\xe4\xff"), "aäÿ");
    EXPECT_EQ(Utf8ToLatin1("aäÿ€z"), "a\xe4\xff?z");
    EXPECT_EQ(Utf8ToLatin1("\xc3"), "?");
    EXPECT_EQ(Utf8ToLatin1("\xc4\x80\x80\xe2"), "??");
}

}  // namespace
}  // namespace ZYNE::Companion
