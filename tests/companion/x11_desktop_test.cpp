// The companion on a real X server.
#include "tests/companion/x11_port.h"

namespace ZYNE::Companion {
namespace {

using testing::ElementsAre;

using X11Desktop = DisplayTest;

TEST_F(X11Desktop, TellsWhatAPersonDoesWithThePointerWhereItIs) {
    server.Do({"mousemove", "100", "100"});
    server.Do({"mousemove_relative", "30", "40"});
    EXPECT_TRUE(Moved(30, 40));
    EXPECT_EQ(On([&] { return journal.pointer; }), (Point{130, 140}));

    server.Do({"keydown", "a", "keyup", "a", "click", "8", "click", "5", "click", "6", "click", "1"});
    EXPECT_TRUE(Journals({"key 30 down", "key 30 up", "button 8 down", "button 8 up", "scroll 0 120", "scroll -120 0",
        "button 1 down", "button 1 up"}));
}

TEST_F(X11Desktop, CapturesAndGivesBack) {
    server.Do({"mousemove", "700", "100"});
    server.Do({"mousemove_relative", "1", "0"});
    EXPECT_TRUE(Moved(1, 0));
    EXPECT_EQ(Capture(), "");
    for (int count = 0; count < 20; ++count) {
        server.Do({"mousemove_relative", "300", "-100"});
    }
    EXPECT_TRUE(Moved(6001, -2000));
    server.Do({"key", "a", "click", "1"});
    EXPECT_TRUE(Journals({"key 30 down", "key 30 up", "button 1 down", "button 1 up"}));
    Do([&] { desktop->Release({20, 30}); });
    EXPECT_EQ(State().pointer, (Point{20, 30}));
}

TEST_F(X11Desktop, InjectsAndTellsNothingOfIt) {
    Do([&] {
        desktop->MovePointer({200, 300});
        desktop->PressKey(30, true);
        desktop->PressButton(1, true);
        desktop->ScrollBy({60, 130});
        desktop->ScrollBy({60, -20});
        desktop->Flush();
    });
    const InputState state = State();
    EXPECT_EQ(state.pointer, (Point{200, 300}));
    EXPECT_THAT(state.keys, ElementsAre(30));
    EXPECT_THAT(state.buttons, ElementsAre(1));
    Do([&] {
        desktop->ReleaseAll();
        desktop->Flush();
    });
    EXPECT_TRUE(State().keys.empty());
    EXPECT_TRUE(State().buttons.empty());
    server.Do({"key", "b"});
    EXPECT_TRUE(Journals({"key 48 down", "key 48 up"}));
    EXPECT_EQ(On([&] { return journal.motions; }), 0);
}

}  // namespace
}  // namespace ZYNE::Companion
