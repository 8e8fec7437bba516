// Crossing of keyboard and mouse: when the companion runs, who hears of what, and what a person sees of it.
#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <latch>
#include <regex>
#include <sstream>
#include <stop_token>
#include <thread>
#include <tuple>

#include "client/crossing_watch.h"
#include "linux/bus/bus_server.h"
#include "linux/bus/bus_wire.h"
#include "platform/host/picker_result.h"
#include "tests/scenario/pipeline.h"
#include "tests/scenario/scenario.h"
#include "tests/scenario/x_server.h"

namespace ZYNE::Testing {
namespace {

using Client::CrossingWatch;
using Client::DeviceError;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* USERS = R"([[user]]
id = 100
name = "Anna"
[[user]]
id = 101
name = "Guest"
type = "private"
)";
constexpr const char* SCRIPTED = "[input]\nscripted = true\nwidth = 800\nheight = 600\n";
constexpr const char* CONNECTED = "KeyMouseService: connected";
constexpr const char* LEFT = "KeyMouseService: disconnected";
constexpr const char* ASKED_TO_LEAVE = "KeyMouseService: request 15";

class Crossing : public Scenario {
protected:
    void SetUp() override {
        DeviceSetup setup{.hasCompanion = true, .config = std::string(USERS) + SCRIPTED, .logLevel = "debug"};
        pc = &Add("pc", setup);
        setup.type = "phone";
        phone = &Add("phone", setup);
    }

    // And until each has published its switch.
    void StartBoth() {
        Scenario::StartBoth();
        ASSERT_TRUE(Eventually([this] { return Switch(*phone, "pc") == "0" && Switch(*pc, "phone") == "0"; }));
    }

    static std::string Switch(const TestDevice& asker, const std::string& peer) {
        return asker.Api()
            .Profiles()
            .Get(peer, "SwitchStatus_Key_Mouse_Edge_Crossing", "", "SwitchStatus")
            .value_or("");
    }

    static bool Turn(const TestDevice& device, const char* word) { return device.Ctl({"switch", word}).status == 0; }

    // What the phone's explanation of crossing with the PC says of a rule.
    bool Says(const std::string& rule) const {
        for (const Client::CrossingRule& each : phone->Api().Crossing().Explain("pc")) {
            if (each.name == rule) {
                return each.holds;
            }
        }
        ADD_FAILURE() << "there is no rule " << rule;
        return false;
    }
    bool ComesToSay(const std::string& rule, bool holds) const {
        return Eventually([&] { return Says(rule) == holds; });
    }

    // Whether so many times, neither more nor less.
    static bool Prints(const TestDevice& device, const char* text, size_t times) {
        return Eventually([&] { return device.CountInOutput(text) == times; });
    }

    static bool Logs(const TestDevice& device, const std::string& text, size_t times) {
        return Eventually([&] { return device.CountInLog(text) == times; });
    }

    // The companion's process on the phone; 0 when there is none.
    pid_t Companion() const {
        const Outcome outcome =
            RunCommand({"/usr/bin/dbus-send", "--bus=" + phone->Entry()->busAddress, "--print-reply=literal",
                "--dest=org.freedesktop.DBus", "/", "org.freedesktop.DBus.GetConnectionUnixProcessID",
                "string:com.zyne.extension.com_2etalvex_2epeerdesk.KeyMouseService"});
        const size_t number = outcome.out.find_first_of("123456789", outcome.out.find("uint32") + sizeof "uint32");
        return outcome.status == 0 ? std::stoi(outcome.out.substr(number)) : 0;
    }

    // A client process of the phone or another that prints to the file `name`, once it is registered.
    std::unique_ptr<Process> Watch(
        const std::string& name, std::vector<std::string> words, const std::string& device = "phone") {
        words.insert(words.begin(), {COLLABCTL, "--device", device, "watch"});
        auto process = std::make_unique<Process>(words, File(name));
        EXPECT_TRUE(Sees(name, "watching"));
        return process;
    }
    std::string File(const std::string& name) const { return directory / (name + ".txt"); }
    std::string Seen(const std::string& name) const { return ReadAll(File(name)); }
    bool Sees(const std::string& name, const std::string& text) const {
        return Eventually([&] { return Count(Seen(name), text) > 0; });
    }
    // That of the first event there.
    std::string NetworkIdIn(const std::string& name) const {
        const std::string key = R"("networkId":")";
        const std::string seen = Seen(name);
        return seen.substr(seen.find(key) + key.size(), 32);
    }
};

TEST_F(Crossing, RunsTheCompanionWhileBothSwitchesAreOnAndForAWhileAfterThePeerHasLeftAndTellsClients) {
    StartBoth();
    const auto client = Watch("client", {"switch", "screen"});
    EXPECT_FALSE(Says("local switch on"));

    // As any process may that writes the user's settings.
    pc->Api().Settings().Put("peer_desk_state", "1", 100);
    EXPECT_TRUE(Sees("client", "switch  pc  on"));
    EXPECT_TRUE(Says("peer switch on"));
    EXPECT_FALSE(Says("service connected"));
    EXPECT_EQ(phone->CountInOutput(CONNECTED), 0U);

    EXPECT_TRUE(Turn(*phone, "on"));
    EXPECT_TRUE(Prints(*phone, CONNECTED, 1));
    EXPECT_TRUE(Prints(*pc, CONNECTED, 1));
    EXPECT_TRUE(ComesToSay("service connected", true));
    const Outcome starts = phone->Ctl({"explain", "pc"});
    EXPECT_THAT(starts.out, HasSubstr("crossing with pc starts"));
    EXPECT_EQ(starts.status, 0);

    EXPECT_TRUE(Turn(*pc, "off"));
    EXPECT_TRUE(Sees("client", "switch  pc  off"));
    EXPECT_TRUE(Prints(*phone, LEFT, 1));
    EXPECT_TRUE(ComesToSay("service connected", false));
    EXPECT_TRUE(Says("local switch on"));
    const Outcome startsNot = phone->Ctl({"explain", "pc"});
    EXPECT_THAT(startsNot.out, HasSubstr("crossing with pc does not start"));
    EXPECT_EQ(startsNot.status, 3);
    EXPECT_THAT(phone->Ctl({"switch", "status"}).out, HasSubstr("user 100 of this device"));

    EXPECT_EQ(pc->Ctl({"screen", "off"}).status, 0);
    EXPECT_TRUE(Sees("client", "screen  pc  off"));
    client->Signal(SIGINT);
    EXPECT_EQ(client->Wait(), 0);
    EXPECT_TRUE(Logs(*phone, "remove callback result 1", 4)) << "the companion's two and the client's";

    EXPECT_TRUE(Turn(*pc, "on"));
    EXPECT_TRUE(ComesToSay("service connected", true));
    pc->Kill();
    ASSERT_TRUE(Eventually([this] { return phone->MissesPeer("pc"); }));
    EXPECT_TRUE(Logs(*phone, "add async result = 1", 1));
    EXPECT_FALSE(Says("peer trusted"));
    EXPECT_TRUE(Says("service connected"));
    EXPECT_EQ(phone->CountInOutput(LEFT), 1U);
}

TEST_F(Crossing, OfHealthyDevicesLogsNoErrorAndNoWarningOfTheirOwnAndHidesUdidsAndNetworkIds) {
    StartBoth();
    const auto ofPc = Watch("pc", {"switch", "--json"});
    const auto ofPhone = Watch("phone", {"switch", "--json"}, "pc");
    ASSERT_TRUE(Turn(*phone, "on") && Turn(*pc, "on"));
    EXPECT_TRUE(Sees("pc", "networkId") && Sees("phone", "networkId"));
    EXPECT_TRUE(Prints(*phone, CONNECTED, 1) && Prints(*pc, CONNECTED, 1));
    EXPECT_EQ(phone->Ask("pc", {"nobody.knows"}).code, 0);
    phone->Api().Profiles().Put("service", "type", "key", "value");
    { const auto client = Watch("client", {"keyboard"}); }
    EXPECT_TRUE(Turn(*phone, "off"));
    EXPECT_TRUE(Prints(*phone, LEFT, 1) && Prints(*pc, LEFT, 1));
    EXPECT_EQ(phone->Ctl({"user", "switch", "101"}).status, 0);
    EXPECT_EQ(pc->Stop(), 0);
    ASSERT_TRUE(Eventually([this] { return phone->MissesPeer("pc"); }));
    EXPECT_EQ(phone->Stop(), 0);
    for (const TestDevice* device : {phone, pc}) {
        std::istringstream log(ReadAll(device->Directory() / "state" / "device.log"));
        for (std::string line; std::getline(log, line);) {
            // The library's lines name a file.
            EXPECT_FALSE(std::regex_search(line, std::regex("^[-0-9]+ [0-9:.]+ [WE] [A-Za-z]+: [^[]"))) << line;
        }
        EXPECT_EQ(device->CountInOutput("fd limit"), 0U);
        for (const std::string& id : {phone->Udid(), pc->Udid(), NetworkIdIn("phone"), NetworkIdIn("pc")}) {
            EXPECT_EQ(device->CountInLog(id), 0U) << id;
            EXPECT_GT(device->CountInLog(CollaborationFwk::PickerResult::StringToAnonymous(id)), 0U) << id;
        }
    }
}

TEST_F(Crossing, ConnectsToAKilledCompanionTwiceMoreAndThenGivesUp) {
    phone->Start();
    Client::Device client = phone->Api();
    client.Crossing().BindService(true);  // as a client may, whatever the rules say; counts attempts anew
    for (size_t attempt = 1; attempt <= 3; ++attempt) {
        ASSERT_TRUE(Prints(*phone, CONNECTED, attempt));
        const pid_t companion = Companion();
        ASSERT_NE(companion, 0);
        kill(companion, SIGKILL);
        EXPECT_TRUE(Logs(*phone, "OnAbilityDisconnectDone, ", attempt));
    }
    EXPECT_TRUE(Logs(*phone, "Retry connect key mouse service more than 3 times, connectCount_3", 1));
    EXPECT_EQ(phone->Ctl({"companion", "restart"}).status, 0);
    EXPECT_TRUE(Prints(*phone, CONNECTED, 4));
    client.Crossing().BindService(false);
    EXPECT_TRUE(Prints(*phone, LEFT, 1));
}

TEST_F(Crossing, LetsTheCompanionGoWithTheLastProgramThatHasBoundItOrWhenOneSaysSo) {
    phone->Start();
    {
        auto first = std::make_unique<Client::Device>(*phone->Entry());
        Client::Device last = phone->Api();
        first->Crossing().BindService(true);
        EXPECT_TRUE(Prints(*phone, CONNECTED, 1));
        first.reset();
        EXPECT_TRUE(Prints(*phone, LEFT, 1));
        last.Crossing().BindService(true);
        EXPECT_TRUE(Prints(*phone, CONNECTED, 2));
        Client::Device other = phone->Api();
        other.Crossing().BindService(true);
        phone->Api().Crossing().BindService(false);
        EXPECT_TRUE(Prints(*phone, LEFT, 2));
        other.Crossing().BindService(true);
        last.Crossing().BindService(true);
        EXPECT_TRUE(Prints(*phone, CONNECTED, 3));
    }
    EXPECT_TRUE(Prints(*phone, LEFT, 3));
}

TEST_F(Crossing, TellsTheOthersInTimeWhenAListenerDoesNotAnswerAndDropsItUntilItRegistersAnew) {
    constexpr size_t EVENTS = 300;  // more than may wait
    phone->Start();
    Client::Device device = phone->Api();
    const auto other = Watch("other", {"keyboard"});
    const auto tellsOther = [&](bool isDown, const char* action) {
        for (size_t i = 1; i <= EVENTS; ++i) {
            device.Crossing().PressKey(static_cast<int32_t>(i), isDown);
        }
        return Eventually([&] { return Count(Seen("other"), action) == EVENTS; });
    };

    std::latch release(1);
    std::atomic<size_t> answered = 0;
    Linux::BusServer stuck(phone->Entry()->busAddress);
    stuck.Serve(Linux::BusWire::DEFAULT_PATH, [&](uint32_t, MessageParcel&, MessageParcel&, const IPCContext&) {
        release.wait();
        ++answered;
        return 0;
    });
    const std::jthread serving([&](const std::stop_token& stop) {
        const std::stop_callback end(stop, [&] { stuck.Stop(); });
        stuck.Run();
    });
    device.Crossing().AddListener("keyboard", stuck.GetUniqueName());
    EXPECT_TRUE(tellsOther(true, "pressed"));
    EXPECT_TRUE(Logs(*phone, "listens and does not answer", 1));
    EXPECT_TRUE(Logs(*phone, "Off the cb", 1));
    release.count_down();
    // The first, and the one that the device waits with.
    EXPECT_TRUE(Eventually([&] { return answered == 2; }));

    // A watch answers for its program, which may take its time.
    std::latch goOn(1);
    std::vector<int32_t> told;
    std::atomic<size_t> count = 0;
    CrossingWatch watch(device, {"keyboard"}, [&](const Client::CrossingEvent& event) {
        goOn.wait();
        told.push_back(std::get<Client::KeyEvent>(event).code);
        count = told.size();
    });
    EXPECT_TRUE(tellsOther(false, "released"));
    goOn.count_down();
    EXPECT_TRUE(Eventually([&] { return count == EVENTS; }));
    EXPECT_TRUE(std::ranges::is_sorted(told, std::less_equal()) && told.front() == 1);
    EXPECT_EQ(phone->CountInLog("listens and does not answer"), 1U);
    EXPECT_EQ(answered, 2U);
}

TEST_F(Crossing, FollowsTheUserInTheForegroundAndIsOffForAPrivateOneAtFirst) {
    StartBoth();
    ASSERT_TRUE(Turn(*phone, "on") && Turn(*pc, "on"));
    ASSERT_TRUE(Prints(*phone, CONNECTED, 1));

    EXPECT_EQ(phone->Ctl({"user", "switch", "101"}).status, 0);
    EXPECT_TRUE(Prints(*phone, ASKED_TO_LEAVE, 1));
    EXPECT_TRUE(Prints(*phone, LEFT, 1));
    EXPECT_TRUE(ComesToSay("local switch on", false));
    EXPECT_TRUE(Turn(*phone, "on"));
    EXPECT_TRUE(Prints(*phone, CONNECTED, 2));
    // Nobody looks at the switch of a user who has left.
    EXPECT_EQ(phone->Ctl({"switch", "off", "--user", "100"}).status, 0);
    EXPECT_THAT(phone->Ctl({"switch", "status"}).out, HasSubstr("on      user 101"));

    EXPECT_EQ(phone->Ctl({"user", "switch", "100"}).status, 0);
    EXPECT_TRUE(Prints(*phone, LEFT, 2));
    EXPECT_TRUE(ComesToSay("local switch on", false));
    EXPECT_EQ(phone->Ctl({"user", "switch", "101"}).status, 0);
    EXPECT_TRUE(Eventually([this] { return phone->Api().Settings().Get("peer_desk_state", 101) == "0"; }));
    EXPECT_EQ(phone->CountInOutput(CONNECTED), 2U);
    EXPECT_EQ(phone->Ctl({"user", "switch", "7"}).status, 1);
    EXPECT_EQ(phone->Ctl({"switch", "on", "--user", "7"}).status, 1);

    // Nor does a switch that all users shared before switch it on.
    phone->Api().Settings().Put("peer_desk_state", "1", -1);
    phone->Stop();
    const size_t before = phone->CountInLog("UpdateEdgeSwitchState 1");
    phone->Start();
    EXPECT_TRUE(Logs(*phone, "writeUserdataResult: 1, writeDataResult: 1", 1));
    EXPECT_TRUE(Eventually([this] { return Switch(*pc, "phone") == "0"; }));
    EXPECT_EQ(phone->Api().Settings().Get("peer_desk_state", 101), "0");
    EXPECT_EQ(phone->CountInLog("UpdateEdgeSwitchState 1"), before);
}

TEST_F(Crossing, AnswersRequestsHostileOnesToo) {
    phone->Start();
    const std::string action = R"({"action": "sendKeyMouseEvent")";
    for (const auto& [request, code, result] : std::vector<std::tuple<std::string, int32_t, std::string>>{
             {action + R"(, "event": 5})", 0, R"({"result":1005})"}, {action + R"(, "event": "1"})", 1001, ""},
             {action + "}", 1001, ""}, {"{}", 1001, ""}, {"", 1001, ""}, {"[1]", 1001, ""}, {"nonsense", 1001, ""},
             {R"({"action": 1})", 1001, ""}, {R"({"action": "dance"})", 2451, ""}, {std::string(100000, '['), 1001, ""},
             {R"({"action": ")" + std::string(4 << 20, 'x') + "\"}", 2451, ""}}) {
        const Client::RequestAnswer answer = phone->Api().Crossing().SendRequest(request);
        EXPECT_EQ(answer.code, code) << request.substr(0, 80);
        EXPECT_EQ(answer.result, result) << request.substr(0, 80);
    }
    EXPECT_EQ(phone->Ctl({"request", "{}"}).status, 3);
}

TEST_F(Crossing, KeepsTheDesktopsScreenOnWhileARequestAsksForIt) {
    const std::string address = "unix:path=" + (directory / "bus").string();
    const Process bus({"/usr/bin/dbus-daemon", "--session", "--nofork", "--address=" + address}, File("bus"));
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    ASSERT_TRUE(Eventually([this] { return std::filesystem::exists(directory / "bus"); }));
    const Process desktop({SCREEN_SAVER}, File("desktop"));
    ASSERT_TRUE(Sees("desktop", "watching"));
    phone->Start();
    for (const char* event : {"1", "2", "3", "4"}) {  // on and off for one reason, and for another
        const std::string request = R"({"action": "sendKeyMouseEvent", "event": )" + std::string(event) + "}";
        EXPECT_EQ(phone->Ctl({"request", request}).out, "{\"result\":0}\n");
    }
    EXPECT_TRUE(Eventually([this] { return Count(Seen("desktop"), "taken back") == 2; }));
    EXPECT_EQ(Count(Seen("desktop"), "stays on"), 2U);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

TEST_F(Crossing, RegistersAProcessOnceTenAtMostAndForItselfAlone) {
    phone->Start();
    const auto ignore = [](const Client::CrossingEvent&) {
    };
    Client::Device device = phone->Api();
    const CrossingWatch watch(device, {"switch"}, ignore);
    EXPECT_THROW(CrossingWatch(device, {"switch"}, ignore), DeviceError);
    for (const char* other : {"org.freedesktop.DBus", "io.collaborationfwk.Device1", ":1.0", "", "nonsense"}) {
        EXPECT_THROW(device.Crossing().AddListener("edge", other), DeviceError) << other;
    }
    EXPECT_THROW(device.Crossing().AddListener("keySwitch", ":1.0"), DeviceError);
    EXPECT_TRUE(Logs(*phone, "AddListener", 1));

    std::vector<std::unique_ptr<Process>> others;
    while (others.size() < 9) {
        others.push_back(Watch("other" + std::to_string(others.size()), {"switch"}));
    }
    EXPECT_THAT(phone->Ctl({"watch", "switch"}).err, HasSubstr("10 processes listen"));
    EXPECT_TRUE(Logs(*phone, "On cb exceed maximum size", 1));
    others.pop_back();
    EXPECT_TRUE(Logs(*phone, "Off the cb", 2));
    others.push_back(Watch("late", {"switch"}));
}

TEST_F(Crossing, CarriesOutWhatOneConnectionAsksInItsOrder) {
    phone->Start();
    std::vector<std::string> errors;
    const auto note = [&](sd_bus_message* answer) {
        if (const sd_bus_error* error = sd_bus_message_get_error(answer)) {
            errors.emplace_back(error->message);
        }
    };
    constexpr const char* CROSSING = "io.collaborationfwk.Crossing1";
    Pipeline inPairs(*phone, note);
    Pipeline other(*phone, note);  // refused while the process is registered over the first
    const auto pair = [&](Pipeline& program) {
        program.SendTo(CROSSING, "AddListener", "ss", "switch", program.Name().c_str());
        program.SendTo(CROSSING, "RemoveListener", "s", "switch");
    };
    for (int round = 0; round < 50; ++round) {
        for (int i = 0; i < 10; ++i) {
            pair(inPairs);
        }
        inPairs.Await();
        pair(other);
        other.Await();
    }
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(Crossing, TellsOfEachEdgeOnceOnADisplayOfAnySize) {
    const XServer display(directory, "800x600");
    Add("tablet", {.config = "[input]\ndisplay = \"" + display.Display() + "\"\n"}).Start();
    const auto client = Watch("edges", {"edge", "keyboard"}, "tablet");
    size_t arrivals = 0;
    size_t keys = 0;
    // With a key behind each motion, as motions that come close together are one.
    const auto move = [&](int dx, int dy) {
        display.Do({"mousemove_relative", "--", std::to_string(dx), std::to_string(dy), "key", "a"});
        ++keys;
        EXPECT_TRUE(Eventually([&] { return Count(Seen("edges"), "released") == keys; }));
    };
    const auto arrives = [&] {
        ++arrivals;
        return Eventually([&] { return Count(Seen("edges"), "edge  screen") == arrivals; });
    };
    // From (x, y) the mouse goes so far that the pointer stops at an edge, along it, and against it once more, and then
    // arrives there anew.
    const auto expectPush = [&](int x, int y, int dx, int dy, const std::string& edge, const char* button = "no ") {
        display.Do({"mousemove", std::to_string(x), std::to_string(y)});
        move(1, 1);  // being put somewhere is no motion
        move(-1, -1);
        move(dx, dy);
        EXPECT_TRUE(arrives()) << edge;
        move(dx == 0 ? 9 : 0, dy == 0 ? 9 : 0);
        move(dx, dy);
        move(dx > 0 ? -99 : 99, dy > 0 ? -99 : 99);
        move(dx, dy);
        EXPECT_TRUE(arrives()) << edge;
        EXPECT_THAT(Seen("edges"),
            ContainsRegex("at " + edge + "  raw delta " + std::to_string(dx) + "," + std::to_string(dy) +
                "  device [0-9]+  " + button + "button pressed"));
    };
    expectPush(400, 300, -500, 0, "0,300");
    expectPush(400, 300, 500, 0, "799,300");
    expectPush(400, 300, 0, -400, "400,0");
    expectPush(400, 300, 0, 400, "400,599");
    display.Do({"mousedown", "1"});
    expectPush(400, 300, -500, 0, "0,300", "");
    display.Do({"mouseup", "1"});
    display.Do({"mousemove", "100", "100"});
    display.Resize("640x480");
    expectPush(320, 240, 400, 0, "639,240");
    expectPush(320, 240, 0, 300, "320,479");
}

TEST_F(Crossing, OfADeviceWithoutADisplayIsDrivenByTheCommandLine) {
    phone->Start();
    const auto client = Watch("client", {"keyboard", "edge", "--json"});
    EXPECT_EQ(phone->Ctl({"input", "move-to", "400", "300"}).status, 0);
    EXPECT_EQ(phone->Ctl({"input", "button", "press", "1"}).status, 0);
    EXPECT_EQ(phone->Ctl({"input", "move", "500", "-7"}).status, 0);
    EXPECT_TRUE(Sees("client", R"("isPressedButtons":true,"rawDeltaX":500,"rawDeltaY":-7,"screenId":)"));
    EXPECT_THAT(Seen("client"), HasSubstr(R"("screenX":799,"screenY":293)"));
    EXPECT_EQ(phone->Ctl({"input", "key", "press", "30"}).status, 0);
    EXPECT_TRUE(Sees("client", R"("event":"keyboard","keyAction":1,"keyCode":30)"));
    phone->Stop();
    EXPECT_EQ(client->Wait(), 1);
    EXPECT_TRUE(Sees("client", "has ended"));
}

}  // namespace
}  // namespace ZYNE::Testing
