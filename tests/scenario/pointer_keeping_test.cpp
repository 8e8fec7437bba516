// The pointer crosses when somebody means it to.
#include <gmock/gmock.h>

#include "tests/scenario/pointer_scenario.h"

namespace ZYNE::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr int CTRL = 29;
constexpr int SHIFT = 42;
constexpr int HOME = 102;

class PointerKept : public PointerScenario {
protected:
    // From elsewhere to the edge, and against it. What keeps it is known when this returns.
    void Push(int16_t y, int16_t by) {
        phones->program.MoveTo(PHONE_WIDTH - 50, y);
        Settle(*phone);
        phones->program.MoveBy(49, 0);
        phones->program.MoveBy(by, 0);
        Settle(*phone);
    }
    void ExpectKept(const std::string& why) {
        EXPECT_EQ(Where(*phone), "home") << why;
        EXPECT_EQ(Where(*pc), "home") << why;
    }
};

TEST_F(PointerKept, FromTheEdgeByAPushTheCornersAndAModifier) {
    StartDesks({.phoneDesk = "push = 40\ncorner = 60\nmodifier = \"ctrl\"\nhome_keys = \"shift+home\"\n",
        .pcDesk = "drags = true\n"});
    Push(400, 60);
    ExpectKept("without the modifier");
    phones->Press(CTRL, true);
    Push(400, 30);
    ExpectKept("the push is too weak");
    Push(50, 500);
    Push(PHONE_HEIGHT - 50, 500);
    ExpectKept("it is a corner");
    Push(400, 60);
    EXPECT_TRUE(Comes(*phone, "away") && Comes(*pc, "host"));
    phones->Press(SHIFT, true);
    phones->Press(HOME, true);
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    phones->Press(HOME, false);
    phones->Press(SHIFT, false);
    ExpectAllAtHome(CTRL);
    EXPECT_TRUE(Eventually([this] { return Passages().size() == 2; }));
    EXPECT_THAT(Passages(), ElementsAre(HasSubstr("entered pc"), HasSubstr("home pc")));

    // Who sits at the PC has said that drags may cross, and drags a window's content there.
    pcs->program.MoveTo(200, 300);
    pcs->PressButton(1, true);
    pcs->ExpectHeard({"+1"});
    pcs->program.MoveBy(-300, 0);
    ASSERT_TRUE(Comes(*pc, "away") && Comes(*phone, "host"));
    EXPECT_TRUE(Eventually([this] { return (phones->Modifiers() & XCB_BUTTON_MASK_1) != 0; }));
    pcs->program.MoveBy(-200, 0);
    EXPECT_TRUE(phones->ComesTo({PHONE_WIDTH - 3 - 200, 400}));
    pcs->PressButton(1, false);
    EXPECT_TRUE(phones->HoldsNothing() && pcs->HoldsNothing());
    phones->program.Heard();
    pcs->Click(1);
    phones->ExpectHeard({"+1", "-1"});
    EXPECT_EQ(phone->Ctl({"desk", "return"}).status, 0);
    EXPECT_TRUE(Comes(*phone, "home") && Comes(*pc, "home"));
    ExpectAllAtHome();
}

TEST_F(PointerKept, ByAButtonAFullScreenAndAProgramThatHoldsIt) {
    StartDesks();
    phones->PressButton(1, true);
    Push(400, 200);
    ExpectKept("a drag");
    phones->PressButton(1, false);

    const auto expectHeld = [&](const std::string& why) {
        // Once it has been kept, it is for half a second.
        EXPECT_TRUE(Eventually([&] {
            Push(400, 200);
            return !Passages().empty() && Passages().back() == "refused pc: the pointer cannot be taken: " + why;
        })) << why
            << ::testing::PrintToString(Passages());
        ExpectKept(why);
        phones->program.LetGo();
    };
    phones->program.Show(0, 0, PHONE_WIDTH, PHONE_HEIGHT, true);
    expectHeld("a window fills the screen");
    phones->program.Show(100, 100, 100, 100, true);
    EXPECT_TRUE(phones->program.HoldPointer());
    expectHeld("a program holds the pointer");
    EXPECT_TRUE(phones->program.HoldKeyboard());
    expectHeld("a program holds the keyboard");
    Cross();
    EXPECT_EQ(phone->Ctl({"desk", "return"}).status, 0);
    ExpectAllAtHome();
}

}  // namespace
}  // namespace ZYNE::Testing
