// Client processes: their registrations, what they are told, and what they may ask for.
#include <algorithm>
#include <functional>

#include "platform/host/global_variables.h"
#include "plugin/key_mouse/key_mouse_callback_proxy.h"
#include "plugin/key_mouse/key_mouse_listener_set.h"
#include "tests/support/key_mouse_test.h"
#include "tests/support/second_thread.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace GloableVariables;

const std::string REGISTER = "RegisterDeviceScreenStatusCallback(varn.collaborationfwk.deviceDetect)";
const std::string NO_JSON = "E Collection: StringToJson failed";

class KeyMouseClients : public Testing::KeyMouseTest {
protected:
    // A client that keeps the bytes of its last request, and answers `result`.
    sptr<Testing::FakeRemote> Client(const std::string& name, int32_t result = 0) {
        return device.MakeRemote(name, [=, this](uint32_t, MessageParcel& data, MessageParcel&) {
            bytes = data.GetBytes();
            return result;
        });
    }
    void Add(const std::string& type, int32_t pid, const sptr<IRemoteObject>& client) {
        manager.AddKeyMouseEventListener(type, pid, client);
    }
    // Those of a request with a text, if there is one, and numbers.
    static std::vector<uint8_t> Request(const std::string& text, const std::vector<int32_t>& numbers) {
        std::vector<uint8_t> expected{39, 0, 0, 0};
        for (const char letter : std::string("ZYNE.CollaborationFwk.IKeyMouseCallback")) {
            expected.insert(expected.end(), {static_cast<uint8_t>(letter), 0});
        }
        if (!text.empty()) {
            expected.insert(expected.end(), {static_cast<uint8_t>(text.size()), 0, 0, 0});
            expected.insert(expected.end(), text.begin(), text.end());
        }
        for (const int32_t number : numbers) {
            for (const int shift : {0, 8, 16, 24}) {
                expected.push_back(static_cast<uint8_t>(static_cast<uint32_t>(number) >> shift));
            }
        }
        return expected;
    }
    std::shared_ptr<KeyMouseEventListener> Listener(const std::string& type) {
        return KeyMouseListenerSet::GetInstance().GetListener(type);
    }
    // Whether the client hears of the pointer's arrival.
    bool Hears(int32_t displayId, int32_t x, int32_t y) {
        device.journal.Clear();
        device.input.Move(displayId, x, y);
        return device.journal.Has("SendRequest(client, 4, 0, 8)");
    }

    std::vector<uint8_t> bytes;
};

TEST_F(KeyMouseClients, AreTenAKindEachWithItsFirstCallbackAndHearInTheOrderOfTheirRegistration) {
    std::vector<std::string> told;
    for (int32_t pid = 20; pid > 10; --pid) {
        Add(KEY_KEYBOARD, pid, Client(std::to_string(pid)));
        told.push_back("SendRequest(" + std::to_string(pid) + ", 3, 0, 8)");
    }
    Add(KEY_KEYBOARD, 5, Client("eleventh"));
    Add(KEY_KEYBOARD, 15, Client("known"));
    Add(KEY_SWITCH, 5, Client("other kind"));
    ExpectCount("E DeviceDetect: On cb exceed maximum size", 2);
    EXPECT_EQ(device.journal.LinesOf("On").back(), "I DeviceDetect: On cb keySwitch");
    ExpectHas("I DeviceDetect: AddListener. pid: 5, type: keySwitch");
    device.journal.Clear();
    device.input.Press(17, 1);
    ExpectAll(told);
    EXPECT_EQ(bytes, Request("", {17, 1}));
    EXPECT_EQ(manager.OnKeyEvent(nullptr), 1001);

    EXPECT_TRUE(Listener(KEY_KEYBOARD)->RemoveCallbackByPid(20));
    const auto second = Client("a second callback");
    Add(KEY_KEYBOARD, 15, second);
    EXPECT_EQ(second->RecipientCount(), 0U);
    Add(KEY_KEYBOARD, 20, Client("20"));
    std::rotate(told.begin(), told.begin() + 1, told.end());
    device.journal.Clear();
    device.input.Press(0, 0);
    ExpectAll(told);
}

TEST_F(KeyMouseClients, StartTheSourceOfTheirKindAndTheLastToLeaveStopsIt) {
    struct Row {
        std::string type;
        std::vector<std::string> starts;
        std::vector<std::string> stops;
    };
    const std::vector<Row> rows{{KEY_SWITCH, {}, {}}, {KEY_SCREEN, {REGISTER, REGISTER, REGISTER}, {"Un" + REGISTER}},
        {KEY_KEYBOARD, {"AddMonitor(keys)"}, {"RemoveMonitor(5)"}},
        {KEY_MOVE_TO_EDGE, {"AddMonitor(pointer)"}, {"RemoveMonitor(6)"}}, {"keyOther", {}, {}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.type);
        device.journal.Clear();
        for (const int32_t pid : {1, 1, 2}) {
            Add(row.type, pid, Client("client"));
        }
        ExpectCalls(row.starts);
        device.journal.Clear();
        manager.RemoveKeyMouseEventListener(row.type, 1);
        ExpectCalls({});
        manager.RemoveKeyMouseEventListener(row.type, 2);
        ExpectCalls(row.stops);
        ExpectCount("E DeviceDetect: remove callback result 1", row.type == "keyOther" ? 0 : 2);
    }
    ExpectHas("I DeviceDetect: RemoveListener. pid: 2, type: keyOther");

    // With no lock of the clients held.
    Testing::SecondThread thread;
    bool ends = false;
    device.deviceManager.during[""] = [&] {
        ends = thread.Ends([this] { Listener(KEY_SCREEN)->RemoveCallbackByPid(77); });
    };
    for (int32_t pid = 0; pid < 10; ++pid) {
        Add(KEY_SCREEN, pid, Client("client"));
    }
    EXPECT_TRUE(ends);
    device.journal.Clear();
    Add(KEY_SCREEN, 10, Client("eleventh"));
    Add(KEY_SWITCH, 10, nullptr);
    ExpectCalls({});
}

TEST_F(KeyMouseClients, HaveOneMonitorOfAKindWhateverItsId) {
    device.input.nextId = 0;
    EXPECT_EQ(manager.AddKeyMonitor(), 0);
    EXPECT_EQ(manager.AddKeyMonitor(), 0);
    manager.RemoveKeyMonitor();
    device.input.nextId = 0;
    device.input.defaultDisplay = MakeSptr<Display>(0, 800, 600);
    EXPECT_EQ(manager.AddMouseMonitor(), 0);
    EXPECT_EQ(manager.AddMouseMonitor(), 0);
    manager.RemoveMouseMonitor();
    ExpectCalls({"AddMonitor(keys)", "RemoveMonitor(0)", "AddMonitor(pointer)", "RemoveMonitor(0)"});
    ExpectLines({"I Collection: start", "I Collection: default.", "I Collection: start"});
    device.input.codes["AddMonitor"] = -2;
    EXPECT_EQ(manager.AddKeyMonitor(), -2);
    manager.RemoveKeyMonitor();  // there is none
    EXPECT_EQ(device.journal.Calls().back(), "AddMonitor(keys)");
}

TEST_F(KeyMouseClients, ThatHaveDiedAreForgottenButTheMonitorGoesOnUntilSomebodyUnregisters) {
    const auto first = Client("first");
    Add(KEY_KEYBOARD, 1, first);
    Add(KEY_KEYBOARD, 1, first);
    EXPECT_EQ(first->RecipientCount(), 1U);
    Add(KEY_KEYBOARD, 2, Client("stays"));
    device.journal.Clear();
    first->Die();
    ExpectAll({"I DeviceDetect: OnRemoteDied the cb", "I DeviceDetect: remove callback pid 1, type keyKeyboard"});
    EXPECT_EQ(first->RecipientCount(), 0U);
    device.journal.Clear();
    device.input.Press(1, 1);
    ExpectAll({"SendRequest(stays, 3, 0, 8)"});
    EXPECT_TRUE(Listener(KEY_KEYBOARD)->RemoveCallbackByPid(2));
    device.journal.Clear();
    Add(KEY_SCREEN, 1, first);  // dead before it came
    Add(KEY_SCREEN, 3, nullptr);
    ExpectLinesOf("On",
        {"I DeviceDetect: On cb keyScreen", "E DeviceDetect: callback is dead", "I DeviceDetect: On cb keyScreen",
            "E DeviceDetect: callback is null"});
    ExpectCalls({});
    manager.RemoveKeyMouseEventListener(KEY_KEYBOARD, 77);
    EXPECT_EQ(device.journal.Calls().back(), "RemoveMonitor(5)");
    EXPECT_EQ(device.journal.LinesOf("Off").back(), "E DeviceDetect: remove callback result 0");
}

TEST_F(KeyMouseClients, AreNoLongerWatchedOnceTheyAreForgotten) {
    auto listener = std::make_shared<KeyMouseEventListener>(KEY_SWITCH);
    const auto client = Client("client");
    const std::vector<std::function<void()>> ways{[&] { EXPECT_TRUE(listener->RemoveCallbackByPid(1)); },
        [&] { EXPECT_TRUE(listener->RemoveCallback(client)); }, [&] { listener->Off(1); },
        [&] { listener->Off(client); }, [&] { listener->Clear(); },
        [&] {
            listener.reset();
        }};
    for (const auto& forget : ways) {
        listener->On(1, client);
        EXPECT_EQ(client->RecipientCount(), 1U);
        forget();
        EXPECT_EQ(client->RecipientCount(), 0U);
        if (listener) {
            EXPECT_TRUE(listener->GetCallbacks().empty());
            EXPECT_FALSE(listener->RemoveCallback(client));
            EXPECT_FALSE(listener->RemoveCallbackByPid(1));
        }
    }
}

TEST_F(KeyMouseClients, ThatCannotBeReachedDoNotKeepTheOthersFromHearing) {
    StartUp();
    Add(KEY_SWITCH, 1, Client("first", IRemoteObject::TIMED_OUT));
    Add(KEY_SWITCH, 2, Client("client"));
    BrokerRegistration& brokers = BrokerRegistration::GetInstance();
    brokers.Unregister(IKeyMouseCallback::DESCRIPTOR);
    SetPeerSwitch("peer", "0");
    ExpectCount("E Collection: failed to cast remoteObject callback", 2);
    EXPECT_EQ(
        device.journal.LinesOf("onSwitchStatusChanged").back(), "E Collection: failed to cast remoteObject callback");
    brokers.Register(IKeyMouseCallback::DESCRIPTOR,
        [](const sptr<IRemoteObject>& remote) { return sptr<IRemoteBroker>(MakeSptr<KeyMouseCallbackProxy>(remote)); });
    SetPeerSwitch("peer", "1");
    ExpectCount("SendRequest(first, 1, 0, 8)", 1);
    EXPECT_THAT(device.journal.LinesOf("OnDeviceStatusChanged"),
        IsSupersetOf({"E CFWKCallback: failed to SendRequest, error: 2"}));
    ExpectCount("SendRequest(client, 1, 0, 8)", 1);
    EXPECT_EQ(bytes, Request("peer-network", {1}));
    device.journal.Clear();
    manager.onSwitchStatusChanged("stranger", true);
    ExpectLines({"I Collection: onSwitchStatusChanged networkId: **, status: 1",
        "E Collection: onSwitchStatusChanged networkId is empty"});
}

TEST_F(KeyMouseClients, HearOfAPeersScreenIfItsStatusIsANumber) {
    Add(KEY_SCREEN, 1, Client("client"));
    const std::string invalid = "E Collection: param DEVICE_SCREEN_STATUS is invalid";
    const std::vector<std::pair<std::string, std::string>> rows{
        {R"({"DEVICE_SCREEN_STATUS":-7})", "SendRequest(client, 2, 0, 8)"}, {"", NO_JSON},
        {std::string(100000, '{'), NO_JSON}, {"[1]", invalid}, {R"({"DEVICE_SCREEN_STATUS":"1"})", invalid}};
    for (const auto& [text, outcome] : rows) {
        device.journal.Clear();
        device.deviceManager.screenCallback->OnDeviceScreenStatus({"id", "peer-network", "name", text, 14, 1});
        ExpectAll({outcome});
    }
    EXPECT_EQ(bytes, Request("peer-network", {-7}));
    device.deviceManager.codes = {{REGISTER, 7}, {"Un" + REGISTER, 8}};
    EXPECT_EQ(manager.RegisterDeviceScreenStatusCallback(), 7);
    EXPECT_EQ(manager.UnRegisterDeviceScreenStatusCallback(), 8);
    int32_t status = 9;
    device.deviceManager.screens["peer-network"] = 3;
    EXPECT_EQ(manager.GetDeviceScreenStatus("gone", status), 1001);
    EXPECT_EQ(status, 9);
    EXPECT_EQ(manager.GetDeviceScreenStatus("peer-network", status), 0);
    EXPECT_EQ(status, 3);
    ExpectLast(
        "I Collection: GetDeviceScreenStatus, networkId: " + Masked("peer-network") + ", screenStatus: 3, ret: 0.");
}

TEST_F(KeyMouseClients, HearOnceOfEachArrivalAtAnEdge) {
    device.input.defaultDisplay = MakeSptr<Display>(0, 800, 600);
    Add(KEY_MOVE_TO_EDGE, 1, Client("client"));
    struct Row {
        int32_t x;
        int32_t y;
        bool isEdge;
    };
    for (const Row& row : std::vector<Row>{{2, 300, false}, {1, 300, true}, {798, 300, false}, {799, 300, true},
             {300, 2, false}, {300, 1, true}, {300, 598, false}, {300, 599, true}, {2, 2, false}, {-5, 300, true},
             {798, 598, false}, {5000, 5000, true}}) {
        EXPECT_EQ(Hears(0, row.x, row.y), row.isEdge) << row.x << " " << row.y;
        EXPECT_FALSE(Hears(0, row.x, row.y));
    }
    ExpectHasNot("GetDisplayById(0)");
    EXPECT_EQ(bytes, Request("", {0, 5000, 5000, -3, 70000, 6, 0}));
    device.input.Move(0, 300, 300);
    device.input.Move(0, 0, 301, {1});
    EXPECT_EQ(bytes, Request("", {0, 0, 301, -3, 70000, 6, 1}));
    manager.RemoveKeyMouseEventListener(KEY_MOVE_TO_EDGE, 1);
    Add(KEY_MOVE_TO_EDGE, 1, Client("client"));
    EXPECT_FALSE(Hears(0, 0, 300));  // it has been there all the time
    manager.RemoveKeyMouseEventListener(KEY_MOVE_TO_EDGE, 1);

    // What comes while a client is told is no second arrival; and it is told with no lock held.
    Testing::SecondThread thread;
    bool ends = false;
    Add(KEY_MOVE_TO_EDGE, 1, device.MakeRemote("client", [&](auto&&...) {
        ends = thread.Ends([this] { Listener(KEY_MOVE_TO_EDGE)->RemoveCallbackByPid(77); });
        device.input.Move(0, 1, 300);
        return 0;
    }));
    device.input.Move(0, 300, 300);
    EXPECT_TRUE(Hears(0, 0, 300));
    EXPECT_TRUE(ends);
    EXPECT_EQ(device.journal.CountCallsOf("SendRequest"), 1U);
}

TEST_F(KeyMouseClients, HearOfTheEdgesOfTheDisplayThatThePointerIsOn) {
    Add(KEY_MOVE_TO_EDGE, 1, Client("client"));
    device.input.displays = {{0, MakeSptr<Display>(0, 800, 600)}, {3, MakeSptr<Display>(3, 1920, 1080)}};
    EXPECT_FALSE(Hears(0, 400, 300));  // there is no default display: it is looked up
    EXPECT_TRUE(Hears(0, 799, 300));
    EXPECT_FALSE(Hears(3, 799, 300));
    EXPECT_TRUE(Hears(3, 1919, 300));
    ExpectHasNot("GetDisplayById(3)");

    // What cannot be placed changes nothing: the pointer is still at the edge.
    EXPECT_FALSE(Hears(-1, 400, 300));
    ExpectLast("E Collection: invalid targetDisplayId: -1");
    EXPECT_FALSE(Hears(8, 400, 300));
    ExpectLinesOf("OnMouseEvent", {"E Collection: targetDisplay is nullptr"});
    device.journal.Clear();
    manager.OnMouseEvent(std::make_shared<PointerEvent>());
    manager.OnMouseEvent(nullptr);
    ExpectCount("E Collection: Can't find this pointerItem", 2);
    EXPECT_EQ(device.journal.LinesOf("OnMouseEvent").size(), 2U);
    EXPECT_FALSE(Hears(3, 1919, 300));
    EXPECT_FALSE(Hears(3, 800, 300));
    EXPECT_FALSE(Hears(8, 0, 0));
}

TEST_F(KeyMouseClients, AreNotTalkedToWhenARequestDoesNotFit) {
    EXPECT_EQ(KeyMouseCallbackProxy(nullptr).OnKeyboardEvent({}), 1009);
    ExpectLast("E CFWKCallback: remote is null");
    EXPECT_EQ(KeyMouseCallbackProxy(Client("client", IRemoteObject::TIMED_OUT)).OnKeyboardEvent({}),
        IRemoteObject::TIMED_OUT);
    ExpectLinesOf(
        "OnKeyboardEvent", {"E CFWKCallback: remote is null", "E CFWKCallback: failed to SendRequest, error: 2"});
    device.journal.Clear();
    KeyMouseCallbackProxy proxy(Client("client"));
    const size_t room = Parcel::MAX_SIZE - Request("", {}).size() - sizeof(int32_t);
    KeyMouseSwitchState state;
    KeyMouseScreenStatus status;
    for (const size_t size : {room + 1, room}) {
        state.deviceId.assign(size, 'x');
        status.networkId.assign(size, 'x');
        EXPECT_EQ(proxy.OnDeviceStatusChanged(state), 1007);
        EXPECT_EQ(proxy.OnDeviceScreenStatusChanged(status), 1007);
    }
    ExpectLinesOf("OnDeviceStatusChanged",
        {"E CFWKCallback: write deviceId failed", "E CFWKCallback: write switchStatus failed"});
    ExpectLinesOf("OnDeviceScreenStatusChanged",
        {"E CFWKCallback: write networkId failed", "E CFWKCallback: write screen status failed"});
    ExpectCalls({});
}

TEST_F(KeyMouseClients, LockTheScreenOnAndReleaseItByRequest) {
    const auto Ask = [this](int event) {
        device.journal.Clear();
        std::string result;
        EXPECT_EQ(manager.ProcessKeyMouseRequest(
                      R"({"action":"sendKeyMouseEvent","event":)" + std::to_string(event) + "}", result),
            0);
        return result;
    };
    device.users.codes = {{"CreateRunningLock", 1}, {"UnLock", 31}};
    EXPECT_EQ(Ask(4), R"({"result":1023})");
    ExpectHas("I Collection: runninglock is null");
    EXPECT_EQ(Ask(3), R"({"result":1023})");
    ExpectHas("I Collection: create runningLock failed.");
    device.users.codes.erase("CreateRunningLock");
    EXPECT_EQ(Ask(1), R"({"result":0})");
    ExpectAll({"I Collection: receive event: 1", "I Collection: lock in", "CreateRunningLock(runningLock, 0)",
        "Lock(60000)", "I Collection: lock errorcode:0.", "I Collection: OnKeyMouseEvent result. 0"});
    device.users.codes["Lock"] = 12;
    EXPECT_EQ(Ask(1), R"({"result":12})");
    EXPECT_EQ(Ask(2), R"({"result":31})");
    ExpectHas("I Collection: unlock errorcode:31");
    for (const auto& [event, call] : std::map<int, std::string>{{3, "Lock(60000)"}, {4, "UnLock()"}}) {
        Ask(event);
        ExpectCalls({call});
    }
    for (const int event : {0, 5, -1}) {
        EXPECT_EQ(Ask(event), R"({"result":1005})");
        ExpectCalls({});
    }
}

TEST_F(KeyMouseClients, AreRefusedWhatTheyDoNotAskForProperly) {
    const std::string action = "E Collection: param action is invalid";
    const std::string event = "E Collection: param OnKeyMouseEvent is invalid";
    struct Row {
        std::string request;
        int32_t code;
        std::vector<std::string> lines;
    };
    for (const Row& row : std::vector<Row>{{"", 1001, {NO_JSON}}, {"[]", 1001, {NO_JSON}}, {"1", 1001, {NO_JSON}},
             {std::string(100000, '['), 1001, {NO_JSON}}, {"{}", 1001, {action}}, {R"({"action":1})", 1001, {action}},
             {R"({"action":["sendKeyMouseEvent"]})", 1001, {action}}, {R"({"action":"","event":1})", 2451, {}},
             {R"({"action":"sendKeyMouseEvent\u0000","event":1})", 2451, {}},
             {R"({"action":"sendKeyMouseEvent"})", 1001, {event}},
             {R"({"action":"sendKeyMouseEvent","event":"1"})", 1001, {event}},
             {R"({"action":"sendKeyMouseEvent","event":4294967297})", 1001, {event}}}) {
        device.journal.Clear();
        std::string result = "untouched";
        EXPECT_EQ(manager.ProcessKeyMouseRequest(row.request, result), row.code) << row.request.substr(0, 60);
        ExpectAll(row.lines);
        EXPECT_EQ(result, "untouched");
    }
    device.input.codes["SetDamplingCoefficient(2, 0.500000)"] = 44;
    EXPECT_EQ(manager.KeymouseSetDamplingCoefficient(2, 0.5), 44);
    ExpectLast("I Collection: SetDamplingCoefficient ret = 44, direction = 2, double = 0.500000");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
