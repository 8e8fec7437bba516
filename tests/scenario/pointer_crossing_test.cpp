// The pointer's way over the edges, and what a person does on it.
#include <csignal>
#include <random>

#include <gmock/gmock.h>

#include "tests/scenario/pointer_scenario.h"

namespace ZYNE::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

// The kernel's codes of keys.
constexpr int ESCAPE = 1;
constexpr int Q = 16;
constexpr int CTRL = 29;
constexpr int A = 30;
constexpr int SHIFT = 42;
constexpr int C = 46;
constexpr int B = 48;
constexpr int ALT = 56;
constexpr int CAPS = 58;
constexpr int NUM = 69;

constexpr const char* OVER_EDGE = "moved over the edge";

class Pointer : public PointerScenario {
protected:
    // Back over the PC's left edge, from wherever it is there.
    void GoBack() {
        phones->program.MoveBy(-PC_WIDTH, 0);
        EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    }
};

TEST_F(Pointer, EntersAtTheSameHeightDoesThereWhatIsDoneHereAndComesBack) {
    StartDesks();
    pcs->server.Run("/usr/bin/setxkbmap", {"fr"});
    phones->program.MoveTo(900, 200);
    phones->program.MoveBy(200, 0);
    ASSERT_TRUE(Comes(*phone, "away") && Comes(*pc, "host"));
    EXPECT_TRUE(pcs->ComesTo({2, 150})) << "a quarter down";
    phones->program.MoveBy(300, 100);
    EXPECT_TRUE(pcs->ComesTo({302, 250}));

    std::vector<std::string> heard;
    for (const int button : {1, 2, 3, 4, 5, 6, 7, 8, 9}) {
        phones->Click(button);
        heard.insert(heard.end(), {"+" + std::to_string(button), "-" + std::to_string(button)});
    }
    for (const int key : {Q, A, SHIFT, CTRL}) {
        phones->Type(key);
        heard.insert(heard.end(), {"+" + std::to_string(key + 8), "-" + std::to_string(key + 8)});
    }
    pcs->ExpectHeard(heard);
    phones->ExpectHeard({});

    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> distance(-5, 5);
    Spot spot{302, 250};
    for (int moves = 0; moves < 10'000; ++moves) {
        Spot by{distance(random), distance(random)};
        by.x = std::abs(spot.x + by.x - PC_WIDTH / 2) > 300 ? -by.x : by.x;
        by.y = std::abs(spot.y + by.y - PC_HEIGHT / 2) > 200 ? -by.y : by.y;
        phones->program.MoveBy(static_cast<int16_t>(by.x), static_cast<int16_t>(by.y));
        spot = {spot.x + by.x, spot.y + by.y};
    }
    EXPECT_TRUE(Eventually([&] { return pcs->At() == spot; })) << pcs->At().x << "," << pcs->At().y;
    EXPECT_THAT(phone->Ctl({"desk", "show", "--json"}).out, HasSubstr("\"pointer\" : \"away\""));
    EXPECT_THAT(phone->Ctl({"desk", "show", "--json"}).out, Not(HasSubstr("\"roundTripMicroseconds\" : null")));
    EXPECT_THAT(phone->Ctl({"desk", "show"}).out, HasSubstr("pc  <- pointer"));

    GoBack();
    EXPECT_TRUE(phones->ComesTo({PHONE_WIDTH - 3, spot.y * PHONE_HEIGHT / PC_HEIGHT}));
    phones->program.MoveTo(300, 300);
    phones->Click(1);
    phones->Type(Q);
    phones->ExpectHeard({"+1", "-1", "+24", "-24"});
    pcs->ExpectHeard({});
    ExpectAllAtHome();
    EXPECT_TRUE(Eventually([this] { return Passages().size() == 2; }));
    EXPECT_THAT(Passages(), ElementsAre(std::string("entered pc: ") + OVER_EDGE, std::string("home pc: ") + OVER_EDGE));
}

TEST_F(Pointer, LeavesNothingPressedAndTakesModifiersAndLocksAlong) {
    StartDesks();
    for (const int modifier : {SHIFT, CTRL}) {
        phones->Press(modifier, true);
        Cross();
        EXPECT_TRUE(Eventually([&] { return pcs->Keys() == std::set{modifier}; }));
        phones->Press(modifier, false);
        EXPECT_TRUE(pcs->HoldsNothing());
        GoBack();
        ExpectAllAtHome();
    }

    // Down at home, up while away; then the other way round, with a button as well.
    phones->Press(A, true);
    Cross();
    pcs->program.Heard();
    pcs->program.MoveTo(400, 300);
    phones->Type(B);
    phones->Press(A, false);
    phones->Type(B);
    pcs->ExpectHeard({"+56", "-56", "+56", "-56"});
    EXPECT_TRUE(phones->HoldsNothing());
    phones->Press(C, true);
    pcs->ExpectHeard({"+54"});
    GoBack();
    pcs->ExpectHeard({"-54"});
    ExpectAllAtHome(C);
    Cross();
    phones->PressButton(1, true);
    phones->Press(C, true);
    pcs->ExpectHeard({"+1", "+54"});
    phones->program.MoveBy(-PC_WIDTH, 0);
    EXPECT_TRUE(pcs->ComesTo({0, PC_HEIGHT / 2})) << "a drag stays there, too";
    Settle(*phone);
    EXPECT_EQ(Where(*phone), "away");
    EXPECT_EQ(phone->Ctl({"desk", "return"}).status, 0);
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    ExpectAllAtHome(C, 1);

    phones->Type(CAPS);
    pcs->Type(NUM);
    const auto isLit = [&](uint16_t locks) {
        return Eventually([&] { return (pcs->Modifiers() & (XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2)) == locks; });
    };
    EXPECT_TRUE(isLit(XCB_MOD_MASK_2));
    Cross();
    EXPECT_TRUE(isLit(XCB_MOD_MASK_LOCK));
    GoBack();
    EXPECT_TRUE(isLit(XCB_MOD_MASK_2)) << "as they were";
    ExpectAllAtHome();

    // Faster than any answer comes.
    for (int times = 0; times < 50; ++times) {
        phones->program.MoveBy(PHONE_WIDTH, 0);
        phones->Press(A, true);
        phones->PressButton(1, true);
        phones->program.MoveBy(-PC_WIDTH, 0);
        phones->Press(A, false);
        phones->PressButton(1, false);
    }
    EXPECT_TRUE(Eventually([this] { return Where(*phone) == "home" || Where(*phone) == "away"; }));
    phone->Ctl({"desk", "return"});
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    ExpectAllAtHome();
}

TEST_F(Pointer, IsBroughtHomeFromEitherSideAndByKeys) {
    StartDesks();
    for (const TestDevice* device : {phone, pc}) {
        Cross();
        EXPECT_THAT(device->Ctl({"desk", "return"}).out, HasSubstr("goes home"));
        EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
        EXPECT_THAT(device->Ctl({"desk", "return"}).out, HasSubstr("is at home"));
        ExpectAllAtHome();
    }
    Cross();
    for (const int key : {CTRL, ALT, ESCAPE}) {
        phones->Press(key, true);
    }
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    EXPECT_TRUE(pcs->HoldsNothing());
    for (const int key : {CTRL, ALT}) {
        phones->Press(key, false);
    }
    ExpectAllAtHome(ESCAPE);
    // Whoever sits at the PC sends the guest home.
    Cross();
    for (const int key : {CTRL, ALT, ESCAPE}) {
        pcs->Press(key, true);
    }
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    for (const int key : {CTRL, ALT, ESCAPE}) {
        pcs->Press(key, false);
    }
    ExpectAllAtHome();

    // The PC's own pointer goes the other way, and only one of the two is away at a time.
    pcs->program.MoveTo(100, 150);
    pcs->program.MoveBy(-200, 0);
    ASSERT_TRUE(Comes(*pc, "away") && Comes(*phone, "host"));
    EXPECT_TRUE(phones->ComesTo({PHONE_WIDTH - 3, 200}));
    pcs->program.MoveBy(-397, 0);
    EXPECT_TRUE(phones->ComesTo({600, 200}));
    pcs->Click(3);
    phones->ExpectHeard({"+3", "-3"});
    pcs->program.MoveBy(500, 0);
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    EXPECT_TRUE(pcs->ComesTo({2, 150}));
    ExpectAllAtHome();
}

TEST_F(Pointer, GoesOnToAThirdDeviceAndHomeFromThere) {
    StartDesks();
    Seat laptops(directory, "400x300");
    TestDevice& laptop = Add("laptop", SetupOf(laptops, "pc", ""));
    laptop.Start();
    EXPECT_EQ(laptop.Ctl({"switch", "on"}).status, 0);
    ASSERT_TRUE(Eventually([&] { return pc->Sees("laptop") && phone->Sees("laptop"); }));
    EXPECT_EQ(pc->Ctl({"desk", "place", "laptop", "right"}).status, 0);
    ASSERT_TRUE(IsReady(*pc, laptop) && ComesToSay(*phone, laptop, "peer has a display", true));
    const auto goOn = [&] {
        Cross();
        phones->Press(SHIFT, true);
        EXPECT_TRUE(Eventually([&] { return pcs->Keys().count(SHIFT) == 1; }));
        phones->program.MoveBy(PC_WIDTH, 0);
        ASSERT_TRUE(Comes(laptop, "host") && Comes(*pc, "home") && Comes(*phone, "away"));
        EXPECT_TRUE(pcs->HoldsNothing());
        laptops.program.Heard();
        phones->program.MoveBy(100, 0);
        phones->Press(A, true);
        laptops.ExpectHeard({"+38"});
    };
    goOn();
    EXPECT_TRUE(laptops.ComesTo({102, 150}));
    phones->program.MoveBy(-200, 0);
    ASSERT_TRUE(Comes(*pc, "host"));
    EXPECT_TRUE(laptops.HoldsNothing());
    GoBack();
    phones->Press(SHIFT, false);
    ExpectAllAtHome(A);
    goOn();
    kill(Companion(laptop), SIGKILL);
    EXPECT_TRUE(Comes(*phone, "home"));
    EXPECT_TRUE(laptops.HoldsNothing());
    phones->Press(SHIFT, false);
    ExpectAllAtHome(A);
}

TEST_F(Pointer, GoesWhereBothDevicesSayThatThePeerLies) {
    StartDesks();
    EXPECT_THAT(pc->Ctl({"desk", "show"}).out, HasSubstr("phone holds \"pc right\""));
    EXPECT_THAT(phone->Ctl({"desk", "show"}).out, HasSubstr("1000x800"));
    EXPECT_THAT(phone->Ctl({"desk", "show"}).out, HasSubstr("800x600"));

    const Outcome refused = pc->Ctl({"desk", "place", "phone", "left", "--part", "0-50"});
    EXPECT_NE(refused.status, 0);
    EXPECT_THAT(refused.err, HasSubstr("phone holds \"pc right\", which contradicts"));
    EXPECT_EQ(pc->Ctl({"desk", "place", "phone", "left"}).status, 0) << "it is the same";

    // Removed by the one that does not hold it: then nothing lies there, and the pointer stays.
    EXPECT_EQ(pc->Ctl({"desk", "remove", "phone"}).status, 0);
    EXPECT_NE(pc->Ctl({"desk", "remove", "phone"}).status, 0);
    EXPECT_TRUE(ComesToSay(*phone, *pc, "neighbour at an edge", false));
    EXPECT_THAT(phone->Ctl({"explain", "pc"}).out, HasSubstr("neighbour at an edge"));
    phones->program.MoveTo(900, 200);
    phones->program.MoveBy(200, 0);
    Settle(*phone);
    EXPECT_EQ(Where(*phone), "home");

    EXPECT_EQ(pc->Ctl({"desk", "place", "phone", "bottom"}).status, 0);
    EXPECT_TRUE(ComesToSay(*phone, *pc, "neighbour at an edge", true));
    ASSERT_TRUE(PushOver({500, 100}, {0, -200}));
    ASSERT_TRUE(Comes(*phone, "away") && Comes(*pc, "host"));
    EXPECT_TRUE(pcs->ComesTo({400, PC_HEIGHT - 3}));
    // The way back goes while the pointer is away: it stays until it is asked to come.
    EXPECT_EQ(phone->Ctl({"desk", "remove", "pc"}).status, 0);
    EXPECT_TRUE(ComesToSay(*phone, *pc, "neighbour at an edge", false));
    EXPECT_EQ(Where(*phone), "away");
    EXPECT_EQ(phone->Ctl({"desk", "return"}).status, 0);
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    ExpectAllAtHome();
}

TEST_F(Pointer, KnowsTheMonitorsOfBothAndFollowsTheirChanges) {
    StartDesks();
    // Two monitors at the phone: the left one is higher than the right one.
    phones->server.Run("/usr/bin/xrandr", {"--setmonitor", "tall", "600/160x800/210+0+0", "screen"});
    phones->server.Run("/usr/bin/xrandr", {"--setmonitor", "low", "400/100x600/160+600+0", "none"});
    const auto has = [&](const char* text) {
        return Eventually([&] { return phone->Ctl({"desk", "show"}).out.find(text) != std::string::npos; });
    };
    ASSERT_TRUE(has("tall 600x800") && has("low 400x600"));
    EXPECT_EQ(phone->Ctl({"desk", "remove", "pc"}).status, 0);
    EXPECT_EQ(
        phone->Ctl({"desk", "place", "pc", "right", "--display", "low", "--part", "0-50", "--peer-part", "50-100"})
            .status,
        0);
    ASSERT_TRUE(AreReady());

    const auto push = [&](int16_t x, int16_t y, int16_t by) {
        phones->program.MoveTo(x, y);
        phones->program.MoveBy(by, 0);
        Settle(*phone);
    };
    push(550, 300, 100);
    EXPECT_TRUE(phones->ComesTo({650, 300})) << "an edge between two monitors of one device";
    push(550, 300, 49);
    push(950, 450, 100);
    EXPECT_EQ(Where(*phone), "home") << "below the part where the PC lies";
    push(950, 150, 100);
    ASSERT_TRUE(Comes(*phone, "away") && Comes(*pc, "host"));
    EXPECT_TRUE(pcs->ComesTo({2, 450})) << "half of the phone's part, half of the PC's";

    // Monitors change while the pointer is away.
    phones->program.MoveBy(700, 0);
    EXPECT_TRUE(pcs->ComesTo({702, 450}));
    pcs->server.Resize("640x400");
    ASSERT_TRUE(Eventually([&] { return pc->Ctl({"desk", "show"}).out.find("640x400") != std::string::npos; }));
    EXPECT_TRUE(pcs->ComesTo({639, 399}));
    phones->program.MoveBy(-39, -99);
    EXPECT_TRUE(pcs->ComesTo({600, 300}));
    phones->server.Run("/usr/bin/xrandr", {"--delmonitor", "low"});
    ASSERT_TRUE(Eventually([&] { return phone->Ctl({"desk", "show"}).out.find("low 400x600") == std::string::npos; }));
    phones->program.MoveBy(-PC_WIDTH, 0);
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    ExpectAllAtHome();

    // The PC's monitor is switched off with the pointer on it; later the whole display goes away, and comes back.
    EXPECT_EQ(phone->Ctl({"desk", "place", "pc", "left"}).status, 0);
    ASSERT_TRUE(AreReady());
    ASSERT_TRUE(PushOver({100, 300}, {-200, 0}));
    ASSERT_TRUE(Comes(*phone, "away") && Comes(*pc, "host"));
    pcs->server.Run("/usr/bin/xrandr", {"--fb", "640x400", "--output", "screen", "--off"});
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    EXPECT_TRUE(Eventually([this] { return Passages().back() == "home pc: no display"; }));
    pcs->server.Run("/usr/bin/xrandr", {"--output", "screen", "--mode", "mode640x400"});
    ASSERT_TRUE(AreReady());
    ASSERT_TRUE(PushOver({100, 300}, {-200, 0}));
    ASSERT_TRUE(Comes(*phone, "away") && Comes(*pc, "host"));
    const std::string display = pcs->server.Display();
    pcs.reset();
    EXPECT_TRUE(Comes(*phone, "home"));
    EXPECT_TRUE(phones->IsFree() && phones->HoldsNothing());
    pcs = std::make_unique<Seat>(directory, "800x600", display);
    ASSERT_TRUE(AreReady());
    EXPECT_TRUE(PushOver({100, 300}, {-200, 0}));
    EXPECT_TRUE(Comes(*phone, "away") && Comes(*pc, "host"));
    // And the phone's own while its pointer is away.
    phones.reset();
    EXPECT_TRUE(Comes(*pc, "home"));
}

}  // namespace
}  // namespace ZYNE::Testing
