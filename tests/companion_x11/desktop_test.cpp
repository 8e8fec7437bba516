// The companion on a real X server, with a person who uses xdotool and another program.
#include <csignal>
#include <fstream>
#include <random>

#include "tests/companion_x11/port.h"

namespace ZYNE::Companion {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using Testing::Eventually;
using testing::IsEmpty;
using Testing::XProgram;

constexpr uint8_t KEY_A = 38;  // as the server counts; 30 as the kernel does
constexpr uint8_t SHIFT = 50;

class X11Desktop : public DisplayTest {
protected:
    void Inject(const std::function<void()>& call) {
        Do([&] {
            call();
            desktop->Flush();
        });
    }
    // Brings all that was done before to the listener.
    void PassMark() {
        program.Press(XCB_BUTTON_PRESS, 9);
        program.Press(XCB_BUTTON_RELEASE, 9);
        EXPECT_TRUE(Eventually(
            [&] { return On([&] { return !journal.lines.empty() && journal.lines.back() == "button 9 up"; }); }));
        Do([&] { journal.lines.resize(journal.lines.size() - 2); });
    }
    Point Pointer() {
        return On([&] { return journal.pointer; });
    }
};

TEST_F(X11Desktop, TellsWhatAPersonDoesAndWhereThePointerIs) {
    server->Do({"mousemove", "100", "100"});
    server->Do({"mousemove_relative", "30", "40"});
    EXPECT_TRUE(Moved(30, 40));
    EXPECT_EQ(Pointer(), (Point{130, 140}));
    program.MoveTo(200, 100);
    EXPECT_TRUE(Moved(100, 0));
    program.MoveBy(1000, -1000);
    EXPECT_TRUE(Moved(1100, -1000));
    EXPECT_EQ(Pointer(), (Point{799, 0}));

    server->Do({"keydown", "a", "keydown", "a", "keyup", "a", "click", "8", "click", "5", "click", "6", "click", "1"});
    EXPECT_TRUE(Journals({"key 30 down", "key 30 up", "button 8 down", "button 8 up", "scroll 0 120", "scroll -120 0",
        "button 1 down", "button 1 up"}));
}

TEST_F(X11Desktop, CapturesWithoutDriftAndGivesBack) {
    program.Show(0, 0, 400, 400, true);
    program.MoveTo(300, 100);
    PassMark();
    program.Heard();
    Do([&] { journal.moved = {}; });
    program.Press(XCB_KEY_PRESS, SHIFT);
    EXPECT_EQ(Capture(), "");
    EXPECT_EQ(Capture(), "");
    EXPECT_FALSE(program.HoldPointer());
    EXPECT_FALSE(program.HoldKeyboard());

    std::mt19937 random(7);
    std::uniform_int_distribution<int16_t> step(-300, 300);
    Distance sum;
    for (int count = 0; count < 10'000; ++count) {
        const int16_t x = step(random);
        const int16_t y = step(random);
        program.MoveBy(x, y);
        sum.dx += x;
        sum.dy += y;
    }
    EXPECT_TRUE(Moved(sum.dx, sum.dy)) << journal.moved.dx << " " << sum.dx;
    // Coordinates go on from where the person left off.
    program.MoveBy(static_cast<int16_t>(-sum.dx), static_cast<int16_t>(-sum.dy));
    program.MoveTo(310, 120);
    program.MoveTo(10, 20);
    EXPECT_TRUE(Moved(-290, -80)) << journal.moved.dx << " " << journal.moved.dy;

    server->Do({"key", "a", "click", "1"});
    program.Press(XCB_KEY_RELEASE, SHIFT);
    EXPECT_TRUE(Journals({"key 42 down", "key 30 down", "key 30 up", "button 1 down", "button 1 up", "key 42 up"}));
    Do([&] { desktop->Release({20, 30}); });
    EXPECT_EQ(State().pointer, (Point{20, 30}));
    EXPECT_THAT(program.Heard(), ElementsAre("+" + std::to_string(SHIFT)));  // nothing of what was captured

    Do([&] { journal.moved = {}; });
    program.MoveTo(25, 31);
    EXPECT_TRUE(Moved(5, 1));
    program.Press(XCB_BUTTON_PRESS, 1);
    program.Press(XCB_BUTTON_RELEASE, 1);
    EXPECT_THAT(program.Heard(), ElementsAre("+1", "-1"));
}

TEST_F(X11Desktop, InjectsWhatTheStateShowsAndTellsNothingOfIt) {
    Inject([&] {
        desktop->MovePointer({200, 300});
        desktop->PressKey(30, true);
        desktop->PressKey(30, true);
        desktop->PressKey(31, false);
        desktop->PressButton(1, true);
        desktop->PressButton(20, true);  // the server has no such button
        desktop->PressButton(5, true);   // the wheel is none
    });
    InputState state = State();
    EXPECT_EQ(state.pointer, (Point{200, 300}));
    EXPECT_THAT(state.keys, ElementsAre(30));
    EXPECT_THAT(state.buttons, ElementsAre(1));
    Inject([&] { desktop->ReleaseAll(); });
    state = State();
    EXPECT_THAT(state.keys, IsEmpty());
    EXPECT_THAT(state.buttons, IsEmpty());

    for (const bool isOn : {true, false}) {
        Inject([&] { desktop->SetLocks({isOn, !isOn, false}); });
        EXPECT_EQ(State().locks, (Locks{isOn, !isOn, false}));
    }
    program.Show(0, 0, 800, 600, false);
    Inject([&] {
        desktop->ScrollBy({60, 130});
        desktop->ScrollBy({60, -240});
    });
    State();  // the server has done it all
    EXPECT_THAT(program.Heard(), ElementsAre("+5", "-5", "+4", "-4", "+7", "-7"));
    PassMark();
    EXPECT_THAT(TakeLines(), IsEmpty());
    EXPECT_EQ(On([&] { return journal.motions; }), 0);
}

TEST_F(X11Desktop, TellsWhatAPersonDoesWhileItInjectsTheSame) {
    std::vector<std::string> expected;
    for (int round = 0; round < 200; ++round) {
        const auto to = static_cast<int16_t>(100 + round);
        Inject([&] {
            desktop->MovePointer({to, 50});
            desktop->PressButton(1, true);
            desktop->PressButton(1, false);
            desktop->PressKey(30, true);
            desktop->PressKey(30, false);
        });
        program.MoveBy(2, 1);
        program.Press(XCB_BUTTON_PRESS, 1);
        program.Press(XCB_BUTTON_RELEASE, 1);
        program.Press(XCB_KEY_PRESS, KEY_A);
        program.Press(XCB_KEY_RELEASE, KEY_A);
        expected.insert(expected.end(), {"button 1 down", "button 1 up", "key 30 down", "key 30 up"});
    }
    EXPECT_TRUE(Journals(expected));
    EXPECT_TRUE(Moved(400, 200));
    const Point before = State().pointer;
    program.MoveBy(3, 3);
    EXPECT_TRUE(Moved(403, 203));
    EXPECT_EQ(Pointer(), (Point{before.x + 3, before.y + 3}));
}

TEST_F(X11Desktop, KnowsItsInjectionsWhenAProgramHasFrozenThePointer) {
    ASSERT_TRUE(program.HoldPointer(true));
    Inject([&] {
        desktop->PressButton(1, true);
        desktop->MovePointer({200, 300});
        desktop->PressButton(1, false);
    });
    program.Press(XCB_BUTTON_PRESS, 3);
    Inject([&] { desktop->MovePointer({210, 300}); });
    program.LetGo();
    EXPECT_TRUE(Journals({"button 3 down"}));
    EXPECT_EQ(State().pointer, (Point{210, 300}));
    EXPECT_EQ(On([&] { return journal.motions; }), 0);
}

TEST_F(X11Desktop, LeavesThePointerToAProgramThatHoldsItOrFillsTheScreen) {
    program.HoldPointer();
    EXPECT_EQ(Capture(), "a program holds the pointer");
    EXPECT_EQ(Capture(true), "a program holds the pointer");
    State();  // the server has taken it all back
    program.LetGo();
    program.HoldKeyboard();
    EXPECT_EQ(Capture(), "a program holds the keyboard");
    program.LetGo();
    State();
    EXPECT_TRUE(program.HoldPointer() && program.HoldKeyboard()) << "nothing was kept";
    program.LetGo();

    const auto fills = [&](bool isFull) {
        EXPECT_EQ(Capture(), isFull ? "a window fills the screen" : "");
        Do([&] { desktop->Release({400, 300}); });
    };
    program.Show(0, 0, 800, 600, false);
    fills(false);
    program.Show(0, 0, 799, 600, true);
    fills(false);
    program.Show(0, 0, 800, 600, true);
    fills(true);
    XProgram above(server->Display());
    above.Show(10, 10, 50, 50, false);
    program.SetAtoms(program.Window(), "_NET_WM_WINDOW_TYPE", "ATOM", {program.Atom("_NET_WM_WINDOW_TYPE_DESKTOP")});
    above.Hide();
    program.Show(0, 0, 800, 600, true);
    fills(false);

    // With a window manager its word counts.
    program.SetAtoms(program.Window(), "_NET_WM_WINDOW_TYPE", "ATOM", {});
    program.SetAtoms(program.Root(), "_NET_SUPPORTING_WM_CHECK", "WINDOW", {above.Window()});
    program.SetAtoms(program.Root(), "_NET_ACTIVE_WINDOW", "WINDOW", {program.Window()});
    fills(false);
    program.SetAtoms(program.Window(), "_NET_WM_STATE", "ATOM",
        {program.Atom("_NET_WM_STATE_ABOVE"), program.Atom("_NET_WM_STATE_FULLSCREEN")});
    fills(true);
}

TEST_F(X11Desktop, CapturesInADragAndFollowsWhenTheButtonIsUp) {
    program.Show(0, 0, 300, 300, true);
    program.MoveTo(100, 100);
    PassMark();
    program.Heard();
    program.Press(XCB_BUTTON_PRESS, 1);
    EXPECT_EQ(Capture(), "a program holds the pointer");
    EXPECT_EQ(Capture(true), "");
    Do([&] { journal.moved = {}; });
    program.MoveBy(7, 7);
    program.Press(XCB_KEY_PRESS, KEY_A);
    program.Press(XCB_KEY_RELEASE, KEY_A);
    EXPECT_TRUE(Moved(7, 7));
    program.Press(XCB_BUTTON_RELEASE, 1);
    EXPECT_TRUE(Journals({"button 1 down", "key 30 down", "key 30 up", "button 1 up"}));
    EXPECT_TRUE(Eventually([&] { return !program.HoldPointer(); }));
    EXPECT_THAT(program.Heard(), ElementsAre("+1", "-1"));
    program.MoveBy(-500, 500);
    program.MoveBy(-500, 500);
    EXPECT_TRUE(Moved(-993, 1007));
}

TEST_F(X11Desktop, FollowsTheScreensAndTellsWhenTheServerIsGone) {
    EXPECT_EQ(On([&] { return desktop->GetScreens(); }), (std::vector<Screen>{{"screen", 0, 0, 800, 600}}));
    server->Resize("640x480");
    EXPECT_TRUE(Eventually([&] {
        const auto screens = On([&] { return desktop->GetScreens(); });
        return screens.size() == 1 && screens[0].width == 640 && screens[0].height == 480;
    }));
    server->Run("/usr/bin/xrandr", {"--setmonitor", "left", "320/80x480/120+0+0", "screen"});
    server->Run("/usr/bin/xrandr", {"--setmonitor", "right", "320/80x480/120+320+0", "none"});
    EXPECT_TRUE(Eventually([&] {
        return On([&] { return desktop->GetScreens(); }) ==
            std::vector<Screen>{{"left", 0, 0, 320, 480}, {"right", 320, 0, 320, 480}};
    }));
    EXPECT_THAT(TakeLines(), AllOf(Contains("screens 1"), Contains("screens 2")));

    server->Server().Signal(SIGKILL);
    EXPECT_TRUE(Journals({"lost"}));
    Inject([&] { desktop->PressKey(30, true); });
    EXPECT_THAT(State().keys, IsEmpty());
    EXPECT_NE(Capture(), "");
}

TEST_F(X11Desktop, IsOutlivedByAKeeperThatLetsGoOfWhatIsDown) {
    const std::filesystem::path output = directory / "holder";
    Testing::Process holder({X11_HOLDER, server->Display(), COMPANION_KEEPER}, output);
    pid_t keeper = 0;
    EXPECT_TRUE(Eventually([&] { return (std::ifstream(output) >> keeper) && keeper > 0; }));
    EXPECT_THAT(State().keys, ElementsAre(30, 42));
    EXPECT_THAT(State().buttons, ElementsAre(1));
    EXPECT_FALSE(program.HoldKeyboard());

    kill(keeper, SIGTERM);
    EXPECT_EQ(getsid(keeper), keeper);
    holder.Signal(SIGKILL);
    EXPECT_TRUE(Eventually([&] { return State().keys.empty() && State().buttons.empty(); }));
    EXPECT_TRUE(Eventually([&] { return kill(keeper, 0) != 0; }));
    EXPECT_TRUE(program.HoldKeyboard() && program.HoldPointer());
}

TEST_F(X11Desktop, HasAKeeperAgainWhenItIsKilledAndNoneAtTheEnd) {
    const pid_t first = On([&] { return desktop->KeeperPid(); });
    kill(first, SIGKILL);
    const auto another = [&] {
        const pid_t now = On([&] { return desktop->KeeperPid(); });
        return now > 0 && now != first;
    };
    EXPECT_TRUE(Eventually(another));
    const pid_t second = On([&] { return desktop->KeeperPid(); });
    Inject([&] { desktop->PressKey(30, true); });
    Do([&] { desktop.reset(); });
    EXPECT_NE(kill(second, 0), 0);
    Do([&] { desktop.emplace(loop, XDesktop::Options{server->Display(), COMPANION_KEEPER}); });
    EXPECT_THAT(State().keys, IsEmpty());
    EXPECT_THROW(XDesktop(loop, {":4711", COMPANION_KEEPER}), std::runtime_error);
    Do([&] { EXPECT_THROW(XDesktop(loop, {server->Display(), "/nowhere"}), std::runtime_error); });
}

}  // namespace
}  // namespace ZYNE::Companion
