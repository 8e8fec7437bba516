// Keyboard, pointer and displays on a real X server, driven from outside as a person would; and the scripted stand-in.
#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <atomic>
#include <csignal>

#include "linux/base/unique_fd.h"
#include "linux/desktop/event_assembler.h"
#include "linux/desktop/input_service.h"
#include "linux/desktop/scripted_input.h"
#include "platform/display/display_manager.h"
#include "platform/input/input_manager.h"
#include "tests/port/port_test.h"
#include "tests/scenario/x_server.h"

namespace ZYNE::Linux {
namespace {

using Testing::XServer;
using Buttons = std::set<int32_t>;
using Key = std::pair<int32_t, int32_t>;  // code, action

constexpr const char* XRANDR = "/usr/bin/xrandr";
constexpr int32_t WIDTH = 800;
constexpr int32_t HEIGHT = 600;

// The person at the display.
class Hand {
public:
    explicit Hand(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {}
    Hand(const Hand&) = delete;
    Hand& operator=(const Hand&) = delete;
    ~Hand() { xcb_disconnect(connection_); }

    void MoveTo(int x, int y) { Do(XCB_MOTION_NOTIFY, 0, x, y); }
    void Move(int dx, int dy) { Do(XCB_MOTION_NOTIFY, 1, dx, dy); }
    void Press(uint8_t button) { Do(XCB_BUTTON_PRESS, button); }
    void Release(uint8_t button) { Do(XCB_BUTTON_RELEASE, button); }
    // Returns when all of it has happened.
    void Settle() { std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr)); }
    void PressKey(int32_t code) { Do(XCB_KEY_PRESS, static_cast<uint8_t>(code + 8)); }
    void ReleaseKey(int32_t code) { Do(XCB_KEY_RELEASE, static_cast<uint8_t>(code + 8)); }

private:
    void Do(uint8_t type, uint8_t detail, int x = 0, int y = 0) {
        xcb_test_fake_input(
            connection_, type, detail, XCB_CURRENT_TIME, XCB_NONE, static_cast<int16_t>(x), static_cast<int16_t>(y), 0);
        xcb_flush(connection_);
    }

    xcb_connection_t* connection_;
};

// What one pointer monitor and one key monitor were told.
class Watcher {
public:
    struct Sum {
        int32_t displayId = -1;
        int32_t x = 0;
        int32_t y = 0;
        int32_t dx = 0;
        int32_t dy = 0;
        int count = 0;
    };

    void TakeKey(const KeyEvent& event) { keys.Add({event.GetKeyCode(), event.GetKeyAction()}); }
    void TakePointer(const PointerEvent& event) {
        PointerItem item;
        ASSERT_TRUE(event.GetPointerItem(event.GetPointerId(), item));
        if (const auto all = pressed.All(); all.empty() || all.back() != event.GetPressedButtons()) {
            pressed.Add(event.GetPressedButtons());
        }
        const std::scoped_lock lock(mutex_);
        sum_ = {event.GetTargetDisplayId(), item.GetDisplayX(), item.GetDisplayY(), sum_.dx + item.GetRawDx(),
            sum_.dy + item.GetRawDy(), sum_.count + 1};
    }

    Sum Motion() {
        const std::scoped_lock lock(mutex_);
        return sum_;
    }
    // Whether the pointer comes to that place, having moved by that much since the start.
    bool Sees(int32_t x, int32_t y, int32_t dx, int32_t dy) {
        return Eventually([&] {
            const Sum sum = Motion();
            return sum.x == x && sum.y == y && sum.dx == dx && sum.dy == dy;
        });
    }

    Told<Key> keys;
    Told<Buttons> pressed;  // each change

private:
    std::mutex mutex_;
    Sum sum_;  // guarded by mutex_
};

class Input : public DeviceTest {
protected:
    // Monitors hold what they use: a call may be under way when the test ends.
    int32_t WatchKeys(const std::shared_ptr<Watcher>& watcher) {
        return manager.AddMonitor([watcher](std::shared_ptr<KeyEvent> event) { watcher->TakeKey(*event); });
    }
    int32_t WatchPointer(const std::shared_ptr<Watcher>& watcher) {
        return manager.AddMonitor([watcher](std::shared_ptr<PointerEvent> event) { watcher->TakePointer(*event); });
    }
    std::shared_ptr<Watcher> WatchAll() {
        auto watcher = std::make_shared<Watcher>();
        EXPECT_GE(WatchPointer(watcher), 0);
        EXPECT_GE(WatchKeys(watcher), 0);
        return watcher;
    }

    InputManager& manager = *InputManager::GetInstance();
    DisplayManager& displays = DisplayManager::GetInstance();
};

class InputOfServer : public Input {
protected:
    InputOfServer() { device.input.Start({server.Display(), false}); }

    // The pointer is in its middle.
    // Of a number that no other test's server takes while this one is down.
    XServer server{directory, "800x600", ":" + std::to_string(1000 + getpid())};
    Hand hand{server.Display()};
};

class InputOfScript : public Input {
protected:
    InputOfScript() {
        device.input.Start({"", true});
        script.Configure({{"left", 0, 0, 100, 50}, {"right", 100, 0, 60, 50, true}});
        script.MoveTo(50, 25);
    }
    ~InputOfScript() override { script.Configure({}); }

    ScriptedInput& script = device.scriptedInput;
};

TEST_F(InputOfServer, LosesNothingOfABurst) {
    const auto watcher = WatchAll();
    constexpr int COUNT = 3000;
    for (int i = 0; i < COUNT; ++i) {
        hand.Move(3, -1);
        hand.Move(-2, 1);
        if (i % 1000 == 0) {
            hand.PressKey(30 + i / 1000);
        }
        if (i == 1000) {
            hand.ReleaseKey(31);
        }
    }
    EXPECT_TRUE(watcher->Sees(WIDTH - 3, HEIGHT / 2, COUNT, 0)) << watcher->Motion().dx;
    EXPECT_LT(watcher->Motion().count, COUNT);
    EXPECT_TRUE(watcher->keys.Reaches(4));
    EXPECT_THAT(watcher->keys.All(),
        ElementsAre(Key(30, KEY_PRESSED), Key(31, KEY_PRESSED), Key(31, KEY_RELEASED), Key(32, KEY_PRESSED)));
}

TEST_F(InputOfServer, KeepsTheOrderOfButtonsWithOnePressedBeforeAnybodyWatchedAndLeavesTheWheelOut) {
    hand.Press(1);
    hand.Settle();
    const auto watcher = WatchAll();
    hand.Move(1, 0);
    for (uint8_t wheel = 4; wheel <= 7; ++wheel) {
        hand.Press(wheel);
        hand.Release(wheel);
    }
    hand.Press(3);
    hand.Release(1);
    hand.Move(1, 0);
    hand.Release(3);
    hand.Press(2);
    EXPECT_TRUE(watcher->pressed.Reaches(5));
    EXPECT_THAT(watcher->pressed.All(), ElementsAre(Buttons{1}, Buttons{1, 3}, Buttons{3}, Buttons{}, Buttons{2}));
    EXPECT_EQ(watcher->Motion().count, 6);
}

TEST_F(InputOfServer, LetsMonitorsComeAndGoInsideACall) {
    const auto first = std::make_shared<Watcher>();
    const auto second = std::make_shared<Watcher>();
    const auto id = std::make_shared<std::atomic<int32_t>>(-1);
    *id = manager.AddMonitor([this, first, second, id](std::shared_ptr<KeyEvent> event) {
        first->TakeKey(*event);
        manager.RemoveMonitor(*id);
        WatchKeys(second);
    });
    hand.PressKey(30);
    ASSERT_TRUE(first->keys.Reaches(1));
    ASSERT_TRUE(Eventually([&] {
        hand.PressKey(31);
        hand.ReleaseKey(31);
        return !second->keys.All().empty();
    }));
    EXPECT_EQ(first->keys.All().size(), 1U);
}

TEST_F(InputOfServer, HoldsNobodyUpForAMonitorThatBlocksOrThrows) {
    const auto slow = std::make_shared<Watcher>();
    const auto gate = std::make_shared<std::mutex>();
    const auto thrower = std::make_shared<Watcher>();
    manager.AddMonitor([thrower](std::shared_ptr<KeyEvent> event) {
        thrower->TakeKey(*event);
        if (thrower->keys.All().size() == 1) {
            throw std::runtime_error("a monitor's own trouble");
        }
    });
    manager.AddMonitor([slow, gate](std::shared_ptr<PointerEvent> event) {
        const std::scoped_lock lock(*gate);
        slow->TakePointer(*event);
    });
    const auto watcher = WatchAll();
    {
        // As a caller that holds what its monitor wants.
        const std::scoped_lock lock(*gate);
        for (int i = 1; i <= 300; ++i) {
            hand.Move(1, 0);
            hand.PressKey(30);
            hand.ReleaseKey(30);
            ASSERT_TRUE(i % 50 != 0 || watcher->Sees(WIDTH / 2 + i, HEIGHT / 2, i, 0));
        }
        manager.RemoveMonitor(WatchPointer(slow));
        ASSERT_TRUE(watcher->keys.Reaches(600));
        ASSERT_TRUE(thrower->keys.Reaches(600));
    }
    EXPECT_TRUE(slow->Sees(WIDTH / 2 + 300, HEIGHT / 2, 300, 0));
}

TEST_F(InputOfServer, TellsOfAllDisplaysAndOfTheirChanges) {
    server.Run(XRANDR, {"--setmonitor", "left", "300/80x600/160+0+0", "screen"});
    server.Run(XRANDR, {"--setmonitor", "*right", "500/132x600/160+300+0", "none"});
    const auto watcher = WatchAll();
    const sptr<Display> right = displays.GetDefaultDisplay();
    ASSERT_NE(right, nullptr);
    EXPECT_EQ(right->GetWidth(), 500);
    hand.MoveTo(310, 20);
    EXPECT_TRUE(watcher->Sees(10, 20, 310 - WIDTH / 2, 20 - HEIGHT / 2));
    EXPECT_EQ(static_cast<uint64_t>(watcher->Motion().displayId), right->GetId());
    hand.MoveTo(299, 20);
    EXPECT_TRUE(watcher->Sees(299, 20, 299 - WIDTH / 2, 20 - HEIGHT / 2));
    const sptr<Display> left = displays.GetDisplayById(static_cast<uint64_t>(watcher->Motion().displayId));
    ASSERT_NE(left, nullptr);
    EXPECT_EQ(left->GetWidth(), 300);

    server.Run(XRANDR, {"--delmonitor", "right"});
    EXPECT_TRUE(Eventually([&] { return displays.GetDisplayById(right->GetId()) == nullptr; }));
    EXPECT_EQ(displays.GetDefaultDisplay()->GetId(), left->GetId());
    hand.MoveTo(500, 20);
    EXPECT_TRUE(watcher->Sees(500, 20, 500 - WIDTH / 2, 20 - HEIGHT / 2));
    EXPECT_LT(watcher->Motion().displayId, 0) << "on no display";
}

TEST_F(InputOfServer, GivesADisplayAnotherIdForAnotherSizeAndTheSameForTheSame) {
    const auto watcher = WatchAll();
    const sptr<Display> wide = displays.GetDefaultDisplay();
    ASSERT_NE(wide, nullptr);
    const auto hasWidth = [&](int32_t width) {
        return Eventually([&] { return displays.GetDefaultDisplay()->GetWidth() == width; });
    };
    server.Resize("640x480");
    ASSERT_TRUE(hasWidth(640));
    EXPECT_EQ(displays.GetDefaultDisplay()->GetHeight(), 480);
    EXPECT_NE(displays.GetDefaultDisplay()->GetId(), wide->GetId());
    hand.Move(2000, 0);
    EXPECT_TRUE(Eventually([&] { return watcher->Motion().x == 639; }));
    EXPECT_EQ(static_cast<uint64_t>(watcher->Motion().displayId), displays.GetDefaultDisplay()->GetId());

    server.Run(XRANDR, {"--output", "screen", "--mode", "800x600"});
    ASSERT_TRUE(hasWidth(WIDTH));
    EXPECT_EQ(displays.GetDefaultDisplay()->GetId(), wide->GetId());
}

TEST_F(InputOfServer, OutlivesTheServerAndFindsTheNextOne) {
    const auto watcher = WatchAll();
    const std::string display = server.Display();
    auto& script = device.scriptedInput;
    script.Configure({{"scripted", 0, 0, 100, 50}});
    EXPECT_FALSE(script.Move(1, 1));
    server.Server().Signal(SIGKILL);
    server.Server().Wait();
    ASSERT_TRUE(Eventually([&] { return script.Move(1, 1); }));
    EXPECT_TRUE(watcher->Sees(1, 1, 1, 1));
    EXPECT_EQ(displays.GetDefaultDisplay()->GetWidth(), 100);
    script.Configure({});
    EXPECT_EQ(displays.GetDefaultDisplay(), nullptr);

    const XServer next(directory, "800x600", display);
    ASSERT_TRUE(Eventually([&] { return displays.GetDefaultDisplay() != nullptr; }));
    Hand nextHand(display);
    nextHand.Move(2, 2);
    EXPECT_TRUE(watcher->Sees(WIDTH / 2 + 2, HEIGHT / 2 + 2, 3, 3))
        << watcher->Motion().x << "," << watcher->Motion().y << " by " << watcher->Motion().dx;
}

TEST_F(InputOfServer, StopsWhenTheServerDoesNotAnswer) {
    WatchAll();
    for (int i = 0; i < 100; ++i) {
        hand.Move(1, 1);
    }
    hand.Settle();
    server.Server().Signal(SIGSTOP);  // most likely between the port's next question and its answer
    device.input.Stop();
    EXPECT_LT(WatchKeys(std::make_shared<Watcher>()), 0);
    EXPECT_EQ(displays.GetDefaultDisplay(), nullptr);
    server.Server().Signal(SIGCONT);
}

// It accepts, or its system does so for it, and says nothing.
TEST_F(Input, StopsWhenTheServerIsSilentFromTheStart) {
    const UniqueFd silent(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int number = 1000 + getpid() % 10000;
    do {
        address.sin_port = htons(static_cast<uint16_t>(6000 + ++number));
    } while (bind(silent.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0);
    ASSERT_EQ(listen(silent.Get(), 5), 0);
    device.input.Start({"127.0.0.1:" + std::to_string(number), false});
    WatchKeys(std::make_shared<Watcher>());
    pollfd caller{silent.Get(), POLLIN, 0};
    EXPECT_EQ(poll(&caller, 1, 30000), 1);
    WatchKeys(std::make_shared<Watcher>());
    EXPECT_FALSE(device.input.Displays().HasServer());
    device.input.Stop();  // comes back though the server says nothing yet
}

TEST_F(InputOfServer, KeepsTheServerOnlyWhileSomebodyWatches) {
    const int32_t keys = WatchKeys(std::make_shared<Watcher>());
    const int32_t pointer = WatchPointer(std::make_shared<Watcher>());
    EXPECT_NE(keys, pointer);
    manager.RemoveMonitor(keys);
    manager.RemoveMonitor(keys);
    EXPECT_TRUE(device.input.Displays().HasServer());
    manager.RemoveMonitor(pointer);
    EXPECT_TRUE(Eventually([&] { return !device.input.Displays().HasServer(); }));
    EXPECT_NE(displays.GetDefaultDisplay(), nullptr);
}

TEST_F(InputOfScript, MovesFromDisplayToDisplayStopsAtTheirBordersTellsOfButtonsAndKeysAndRefusesWrongDisplays) {
    const auto watcher = WatchAll();
    EXPECT_EQ(displays.GetDefaultDisplay()->GetWidth(), 60);
    ASSERT_TRUE(script.Move(-70, 10));
    EXPECT_TRUE(watcher->Sees(0, 35, -70, 10));
    ASSERT_TRUE(script.MoveTo(120, 35));
    EXPECT_TRUE(watcher->Sees(20, 35, 50, 10));
    EXPECT_EQ(static_cast<uint64_t>(watcher->Motion().displayId), displays.GetDefaultDisplay()->GetId());
    ASSERT_TRUE(script.Move(INT32_MAX, INT32_MIN));
    EXPECT_TRUE(Eventually([&] { return watcher->Motion().x == 59 && watcher->Motion().y == 0; }));
    EXPECT_TRUE(script.Press(1) && script.Press(1) && script.Press(3) && script.Release(1));
    EXPECT_TRUE(script.Key(30, true) && script.Key(30, true) && script.Key(30, false));
    EXPECT_TRUE(watcher->pressed.Reaches(4));
    EXPECT_THAT(watcher->pressed.All(), ElementsAre(Buttons{}, Buttons{1}, Buttons{1, 3}, Buttons{3}));
    EXPECT_TRUE(watcher->keys.Reaches(2));
    EXPECT_THAT(watcher->keys.All(), ElementsAre(Key(30, KEY_PRESSED), Key(30, KEY_RELEASED)));
    script.Release(3);
    for (const DisplayArea& area :
        {DisplayArea{"flat", 0, 0, 10, 0}, DisplayArea{"far", 40000, 0, 10, 10}, DisplayArea{"vast", 0, 0, 40000, 1}}) {
        EXPECT_FALSE(script.Configure({area})) << area.name;
    }
    EXPECT_EQ(displays.GetDefaultDisplay()->GetWidth(), 60);
}

TEST(EventAssembler, KeepsFractionsOfAMotionForEachDevice) {
    EventAssembler assembler;
    std::vector<int32_t> distances;
    for (const auto& [device, x] :
        std::vector<std::pair<int32_t, double>>{{1, 0.75}, {2, -0.75}, {1, 0.75}, {2, -0.75}, {1, 0.75}, {1, -4.5}}) {
        assembler.Add({.deviceId = device, .x = x});
        for (const InputEvent& event : assembler.Finish({}, {})) {
            distances.push_back(std::get<PointerChange>(event).dx);
        }
    }
    EXPECT_THAT(distances, ElementsAre(0, 0, 1, -1, 1, -4));
}

TEST(EventAssembler, TakesADeviceThatTellsPlacesByThePointersWay) {
    EventAssembler assembler({100, 100});
    assembler.Add({.motion = RawInput::Motion::ABSOLUTE, .x = 30000, .y = 1000});
    assembler.Add({.kind = RawInput::Kind::BUTTON, .code = 1, .isPressed = true});
    assembler.Add({.motion = RawInput::Motion::ABSOLUTE, .x = 31000, .y = 1000});
    const auto events = assembler.Finish({150, 90}, {});
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(std::get<PointerChange>(events[0]).dx, 50);
    EXPECT_EQ(std::get<PointerChange>(events[0]).dy, -10);
    EXPECT_EQ(std::get<PointerChange>(events[2]).dx, 0) << "told already";
    EXPECT_THAT(assembler.Finish({}, {}), ::testing::IsEmpty());
}

}  // namespace
}  // namespace ZYNE::Linux
