// Who is eligible, and when the companion's service starts, stops and is connected anew.
#include <array>

#include "platform/device_manager/dm_device_state.h"
#include "platform/host/global_variables.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "tests/support/key_mouse_test.h"
#include "tests/support/second_thread.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr char ATTEMPTS[] = "reconnect attempts left";
const std::string NOBODY = "I Collection: have not trust and same acconut device switch on.";
const std::string BAD_LIST = "E Collection: trust device list size is invalid";
const std::string UNSUPPORTED = "I Collection: local deviceType or remote deviceType is not supported";
const std::string STOP_PENDING = "E Collection: Stop key mouse service task already start";

// Before anything was looked at.
class KeyMousePeers : public Testing::KeyMouseTest {};

class KeyMouseService : public Testing::KeyMouseTest {
protected:
    KeyMouseService() { StartUp(); }

    // The names of the required rules that do not hold, and "!" before those others that do; without the attempts.
    std::vector<std::string> Explain(const std::string& name) {
        std::vector<std::string> names;
        for (const CrossingRule& rule : manager.ExplainCrossing(name)) {
            if (rule.name != ATTEMPTS && rule.isRequired != rule.holds) {
                names.push_back((rule.isRequired ? "" : "!") + rule.name);
            }
        }
        device.journal.Clear();
        return names;
    }

    DmDeviceInfo& peer = device.deviceManager.trusted[0];
};

TEST_F(KeyMouseService, RunsForAPeerThatIsEligibleInEveryWayAndExplainsWhichRuleFails) {
    const DmDeviceInfo good = peer;
    const auto expectFailing = [this, good](const std::string& rule, const std::vector<std::string>& answers) {
        EXPECT_THAT(Explain("peer-network"), ElementsAre(rule));
        manager.StartOrStopKeyMouseService(true);
        const std::vector<std::string> lines = device.journal.LinesOf("StartOrStopKeyMouseService");
        EXPECT_EQ(lines.front(),
            "I Collection: deviceId: " + Masked("peer-udid") + ", isSupportDevice: " + answers[0] +
                ", isNextDevice: " + answers[1] + ", isAccountAuth: " + answers[2]);
        EXPECT_EQ(device.journal.CountCallsOf("GetCharacteristicProfile"), rule == "peer switch on" ? 1U : 0U);
        ExpectHas("GetTrustedDeviceList(varn.collaborationfwk.deviceDetect, )", "DisconnectAbility(known)");
        ExpectDecision(NOBODY, STOPPED);
        peer = good;
        device.profiles.codes.clear();
    };
    peer.deviceTypeId = 156;
    expectFailing("peer device type supported", {"0", "1", "1"});
    peer.extraData = R"({"OS_TYPE":11})";
    expectFailing("peer system type supported", {"1", "0", "1"});
    for (const int32_t relation : {0, 2}) {
        peer.authForm = relation;
        expectFailing("peer of the same account", {"1", "1", "0"});
    }
    device.profiles.codes["GetCharacteristicProfile"] = 7;
    expectFailing("peer switch on", {"1", "1", "1"});
    auto& stored = device.profiles.characteristics[{"peer-udid", SWITCH_SERVICE, "SwitchStatus"}];
    for (const auto& [service, key, value] : std::vector<std::array<std::string, 3>>{
             {SWITCH_SERVICE, "SwitchStatus", "10"}, {"other", "SwitchStatus", "1"}, {SWITCH_SERVICE, "other", "1"}}) {
        stored = Testing::ProfileOf("peer-udid", service, key, value);
        expectFailing("peer switch on", {"1", "1", "1"});
    }
    SetPeerSwitch("peer", "1");
    for (const uint32_t type : {11U, 12U, 17U, 2607U, 14U}) {
        peer.deviceTypeId = type;
        EXPECT_THAT(Explain("peer-udid"), ElementsAre());
        manager.StartOrStopKeyMouseService(true);
        ExpectDecision(QUALIFIED, CONNECTED);
    }
    EXPECT_EQ(Explain("stranger").size(), 5U);
}

TEST_F(KeyMouseService, LooksAtTheLocalSideFirst) {
    manager.StartOrStopKeyMouseService(false);
    EXPECT_EQ(device.journal.CountCallsOf("GetTrustedDeviceList"), 0U);
    ExpectDecision(SWITCH_OFF, STOPPED);
    device.deviceManager.local.deviceTypeId = 156;
    device.deviceManager.codes["GetLocalDeviceInfo"] = -5;
    EXPECT_EQ(manager.SetLocalDeviceUdid(), -5);
    EXPECT_THAT(Explain("peer-network"), ElementsAre());
    device.deviceManager.codes.clear();
    manager.SetLocalDeviceUdid();
    EXPECT_THAT(Explain("peer-network"), ElementsAre("local device type supported"));
    device.pool.RunAll();
    ExpectDecision("I Collection: localDeviceType not support 156", STOPPED);
    manager.OnDeviceStatusChanged({}, DeviceType::PHONE);
    ExpectDecision(UNSUPPORTED, "");
    std::vector<std::string> services;
    manager.AddServiceId(DeviceType::PHONE, services);
    EXPECT_TRUE(services.empty());
    manager.UpdateEdgeSwitchState(false);
    ExpectHas(SWITCH_OFF);
    EXPECT_EQ(Explain("peer-network")[0], "local switch on");
    manager.CheckDeviceStatus("local-udid");
    ExpectAll({"I Collection: GetEdgeSwitchState for deviceId:" + Masked("local-udid") + " successfully, state:false"});
}

TEST_F(KeyMouseService, SearchesUpToTenThousandTrustedDevicesWhateverTheCodeOfTheList) {
    device.deviceManager.codes["GetTrustedDeviceList"] = 4;
    const DmDeviceInfo good = peer;
    for (const size_t size : {1U, 10000U, 10001U, 0U}) {
        const bool isSearched = size == 1 || size == 10000;
        device.deviceManager.trusted.assign(size, {"other", "other-network", "other", "{}", 14, 1});
        if (size > 0) {
            device.deviceManager.trusted.back() = good;
        }
        device.journal.Clear();
        EXPECT_EQ(manager.IsSameAccount("peer-network"), isSearched);
        EXPECT_EQ(manager.IsNextDevice(std::string("peer-network")), isSearched);
        EXPECT_FALSE(manager.IsSameAccount("unknown"));
        ExpectCount(BAD_LIST, isSearched ? 0 : 3);
        EXPECT_EQ(device.journal.LinesOf("IsSameAccount").size(), isSearched ? 0U : 2U);
        manager.StartOrStopKeyMouseService(true);
        isSearched ? ExpectDecision(QUALIFIED, CONNECTED) : ExpectDecision(BAD_LIST, STOPPED);
        EXPECT_EQ(manager.getDeviceNetworkId("peer-udid"), "");
        ExpectLinesOf("getDeviceNetworkId", {"E Collection: Failed to GetTrustedDeviceList, ret: 4."});
        device.deviceManager.codes.clear();
        EXPECT_EQ(manager.getDeviceNetworkId("peer-udid"), size == 0 ? "" : "peer-network");
        device.deviceManager.codes["GetTrustedDeviceList"] = 4;
    }
    device.deviceManager.codes.clear();
    device.journal.Clear();
    manager.TryToPullKeyMouseService();
    ExpectLinesOf("TryToPullKeyMouseService", {"I Collection: Enter.", "E Collection: No trusted devices."});
    ExpectHasNot(STOPPED);
}

TEST_F(KeyMouseService, ReadsTheSystemTypeOutOfUntrustedText) {
    const std::string broken = "E Collection: StringToJson failed";
    const std::string invalid = "E Collection: param OS_TYPE is invalid";
    for (const auto& [text, line] : std::vector<std::pair<std::string, std::string>>{
             {R"({"OS_TYPE":10})", "I Collection: osType is 10"}, {R"({"OS_TYPE":-1})", "I Collection: osType is -1"},
             {R"({"OS_TYPE":"10"})", invalid}, {"{}", invalid}, {R"({"OS_TYPE":9999999999})", invalid},
             {"[10]", broken}, {"10", broken}, {"", broken}, {std::string(100000, '['), broken}}) {
        peer.extraData = text;
        device.journal.Clear();
        EXPECT_EQ(manager.IsNextDevice(peer), line.ends_with("is 10"));
        ExpectAll({line});
    }
}

TEST_F(KeyMouseService, NeedsTheInstalledCompanion) {
    ApplicationInfo& companion = device.apps.applications["com.talvex.peerdesk"];
    const auto expectMissing = [this](const std::string& line) {
        EXPECT_THAT(Explain("peer-network"), ElementsAre("!bind requested", "companion installed"));
        EXPECT_EQ(manager.StartKeyMouseService(), 2514);
        ExpectHas("E Collection: " + line);
        EXPECT_EQ(device.journal.Has("GetApplicationInfo(com.talvex.peerdesk, 0, 100)"), device.apps.hasBundleManager);
        ExpectDecision("E Collection: PeerDesk is not installed.", "");
    };
    manager.BindKeymouseServiceReq(true);
    manager.StopKeyMouseService();
    const ApplicationInfo good = companion;
    companion.enabled = false;
    expectMissing("Peerdesk is not installed.");
    companion = {"com.talvex.other", true};
    expectMissing("Peerdesk is not installed.");
    device.apps.applications.clear();
    expectMissing("Query ability infos error");
    device.apps.hasBundleManager = false;
    expectMissing("failed to get bms proxy");

    // It was wanted each time, but not tried.
    device.apps.hasBundleManager = true;
    device.apps.applications["com.talvex.peerdesk"] = good;
    device.apps.Disconnect();
    ExpectDecision("E Collection: Retry connect key mouse service, connectCount_1", CONNECTED);
}

TEST_F(KeyMouseService, IsStartedOneSecondAfterAPeerCameAndLeftFiveMinutesAfterTheFirstHasGone) {
    DmDeviceInfo tablet = peer;
    tablet.deviceTypeId = 17;
    DeviceProfileManager& profiles = DeviceProfileManager::GetInstance();
    profiles.HandleDeviceProfileChange(DEVICE_STATE_ONLINE, tablet);
    EXPECT_TRUE(manager.HasOnlineDeviceSwitchOn());
    EXPECT_FALSE(manager.CheckIfNeedStopKeyMouse());
    const auto begin = device.time.Elapsed();
    device.journal.Clear();
    device.pool.RunAll();
    EXPECT_EQ(device.time.Elapsed() - begin, 1s);
    ExpectDecision(QUALIFIED, CONNECTED);

    profiles.HandleDeviceProfileChange(DEVICE_STATE_OFFLINE, tablet);
    ExpectHas("AddAsynTask(4)");
    EXPECT_FALSE(manager.HasOnlineDeviceSwitchOn());
    device.journal.Clear();
    EXPECT_TRUE(manager.CheckIfNeedStopKeyMouse());
    manager.OnDeviceOffline(Peer());
    ExpectLinesOf("OnDeviceOffline",
        {"I Collection: remote device: deviceId: " + Masked("peer-udid") + ", deviceTypeId: 14", STOP_PENDING});
    EXPECT_EQ(device.pool.Size(), 1U);
    device.deviceManager.trusted.clear();
    device.time.At(300s - 1ns, [this] {
        ExpectHasNot(STOPPED);
        manager.OnDeviceOffline(Peer());  // the pending one serves it too
    });
    device.deviceManager.during[""] = [this] {
        manager.OnDeviceOffline(Peer());
    };  // until it has decided
    device.pool.RunNext();
    ExpectCount(STOP_PENDING, 3);
    ExpectDecision(BAD_LIST, STOPPED);
    EXPECT_EQ(device.pool.Size(), 0U);

    device.pool.runsDuringPost = true;
    manager.OnDeviceOffline(Peer());
    manager.OnDeviceOffline(Peer());
    ExpectCount(STOPPED, 2);
    device.pool.refuses = true;
    manager.OnDeviceOffline(Peer());
    manager.OnDeviceOffline(Peer());
    ExpectCount("I Collection: add async result = 0", 2);
    EXPECT_EQ(manager.OnDeviceOnline(Peer(156)), 0);
    EXPECT_FALSE(manager.HasOnlineDeviceSwitchOn());
    device.pool.refuses = device.pool.runsDuringPost = false;
    device.journal.Clear();
    EXPECT_EQ(manager.OnDeviceOnline(Peer()), 1);
    ExpectHas("AddAsynTask(4)");
    manager.OnDeviceOffline(Peer(156));
    EXPECT_TRUE(manager.HasOnlineDeviceSwitchOn());
    EXPECT_EQ(manager.OnDeviceOnline(nullptr), 1001);
    EXPECT_EQ(device.journal.LinesOf("OnDeviceOnline").back(), "E Collection: info is null");
    manager.OnDeviceOffline(nullptr);
    EXPECT_EQ(device.pool.Size(), 2U);
}

TEST_F(KeyMouseService, DecidesAfterTheDelayByTheSwitchAsItIsThen) {
    for (const bool isOn : {false, true}) {
        manager.CheckLocalSwitchState();
        EXPECT_EQ(manager.OnDeviceOnline(Peer()), 1);
        manager.OnDeviceOffline(Peer());
        EXPECT_EQ(device.pool.Size(), 3U);
        while (device.pool.Size() > 0) {
            manager.UpdateEdgeSwitchState(!isOn);
            device.time.At(500ms, [this, isOn] {
                manager.UpdateEdgeSwitchState(isOn);
                device.journal.Clear();
            });
            device.pool.RunNext();
            isOn ? ExpectDecision(QUALIFIED, CONNECTED) : ExpectDecision(SWITCH_OFF, STOPPED);
        }
    }
    manager.StopKeyMouseServiceTimer(1);
    manager.OnDeviceOffline(Peer());
    ExpectHas(STOP_PENDING);
}

TEST_F(KeyMousePeers, CountWhileTheyAreOnlineByTheIdThatTheyCameWith) {
    EXPECT_FALSE(manager.HasOnlineDeviceSwitchOn());
    ExpectAll({"E Collection: No Online devices."});
    manager.TryToPullKeyMouseService();
    EXPECT_FALSE(manager.HasOnlineDeviceSwitchOn());
    device.profiles.Publish(Testing::ProfileOf("peer-id", SWITCH_SERVICE, "SwitchStatus", "1"));
    EXPECT_TRUE(manager.HasOnlineDeviceSwitchOn());
    manager.SetDeviceStatus("peer-id", false);
    device.journal.Clear();
    EXPECT_FALSE(manager.HasOnlineDeviceSwitchOn());
    EXPECT_TRUE(manager.CheckIfNeedStopKeyMouse());
    ExpectAll({});
}

TEST_F(KeyMouseService, FollowsAPeersSwitchIfBothDevicesAreSupported) {
    SetPeerSwitch("peer", "0");
    ExpectDecision(NOBODY, STOPPED);
    SetPeerSwitch("peer", "1");
    ExpectDecision(QUALIFIED, CONNECTED);
    manager.OnDeviceStatusChanged({}, 156);
    ExpectDecision(UNSUPPORTED, "");

    // Clients hear first, of what is stored by then; the own switch decides.
    manager.UpdateEdgeSwitchState(false);
    manager.AddKeyMouseEventListener(GloableVariables::KEY_SWITCH, 1, device.MakeRemote("client"));
    device.journal.Clear();
    manager.OnDeviceStatusChanged(
        Testing::ProfileOf("peer-udid", SWITCH_SERVICE, "SwitchStatus", "0"), DeviceType::PHONE);
    ExpectLinesOf("onSwitchStatusChanged",
        {"I Collection: onSwitchStatusChanged networkId: " + Masked("peer-network") + ", status: 1"});
    const std::vector<std::string> calls = device.journal.Calls();
    EXPECT_EQ(calls[calls.size() - 2], "SendRequest(client, 1, 0, 8)");
    EXPECT_EQ(calls.back(), "DisconnectAbility(known)");
    ExpectDecision(SWITCH_OFF, STOPPED);
    std::vector<std::string> services{"first"};
    manager.AddServiceId(156, services);
    manager.AddServiceId(2607, services);
    EXPECT_THAT(services, ElementsAre("first", SWITCH_SERVICE));
}

TEST_F(KeyMouseService, IsConnectedAnewUntilThreeAttemptsWereMadeSinceTheLastBindRequest) {
    manager.StopKeyMouseService();  // wanted then, but no longer
    manager.BindKeymouseServiceReq(true);
    manager.BindKeymouseServiceReq(false);  // a further attempt: the rules hold
    for (const std::string count : {"2", "3"}) {
        device.journal.Clear();
        device.apps.Disconnect();
        const std::vector<std::string> lines = device.journal.Lines();
        EXPECT_THAT(std::vector(lines.begin() + 1, lines.begin() + 4),
            ElementsAre("I Collection: unlock in", "I Collection: runninglock is null",
                "E Collection: Retry connect key mouse service, connectCount_" + count));
        ExpectCount(CONNECTED, count == "2" ? 1 : 0);
    }
    ExpectLast("E Collection: Retry connect key mouse service more than 3 times, connectCount_3");
    const CrossingRule attempts = manager.ExplainCrossing("peer-network").back();
    EXPECT_EQ(attempts.name, ATTEMPTS);
    EXPECT_FALSE(attempts.holds);

    device.apps.codes["ConnectServiceExtensionAbility"] = 16;
    manager.BindKeymouseServiceReq(true);
    ExpectHas("I Collection: Connect Key mouse service ret:16", "E Collection: Connect Key mouse service failed");
    ExpectLast("E Collection: Connect key mouse service failed.");
    EXPECT_EQ(manager.StartKeyMouseService(), 2514);
    device.apps.Disconnect();
    ExpectHas("E Collection: Retry connect key mouse service, connectCount_2");
    manager.StopKeyMouseService();
    device.apps.Disconnect();
    ExpectLast("E Collection: KeyMouseService need stop");

    // An attempt counts, and an end is wanted, before the platform hears of it.
    const auto disconnect = [this] {
        device.apps.Disconnect();
    };
    device.apps.codes.clear();
    manager.BindKeymouseServiceReq(false);
    device.journal.Clear();
    manager.UpdateKeyMouseServiceBinder(101, device.MakeRemote("service"));
    device.apps.during[""] = disconnect;
    manager.StopKeyMouseService();
    ExpectHas("E Collection: KeyMouseService need stop");
    EXPECT_TRUE(manager.QueryKeyMouseServiceBinder(101));
    device.apps.during[""] = [&] {
        device.apps.during[""] = disconnect;
    };  // past the question for the companion
    manager.BindKeymouseServiceReq(true);
    ExpectHas("E Collection: Retry connect key mouse service, connectCount_1");
}

TEST_F(KeyMousePeers, AreNotReturnedToWhenAReplacementSaysThatItIsToStop) {
    class Stopping final : public KeyMouseServiceManager {
        bool IsNeedStopKeyMouse() override { return true; }
    };
    Stopping().RetryConnectKeyMouseService();
    ExpectLast("E Collection: KeyMouseService need stop");
}

TEST_F(KeyMouseService, RunsWhateverTheRulesWhileAClientHasBoundIt) {
    manager.UpdateEdgeSwitchState(false);
    device.deviceManager.trusted.clear();
    device.journal.Clear();
    manager.BindKeymouseServiceReq(true);
    ExpectDecision("I Collection: BindKeymouseService", CONNECTED);
    EXPECT_EQ(Explain("")[0], "!bind requested");
    manager.BindKeymouseServiceReq(false);
    ExpectDecision(SWITCH_OFF, STOPPED);
}

TEST_F(KeyMouseService, IsKeptByUserUntilItHasAnsweredThatItIsLetGo) {
    EXPECT_FALSE(manager.DisconnectKeyMouseService(101));
    ExpectAll({"E Collection: keyMouseServiceBinder is null"});
    device.apps.Connect(nullptr, -1);
    EXPECT_FALSE(manager.DisconnectKeyMouseService(101));
    EXPECT_THAT(Explain("peer-network"), ElementsAre());

    int32_t answer = 3;
    Testing::SecondThread thread;
    device.apps.Connect(device.MakeRemote("service", [&](uint32_t, MessageParcel& data, MessageParcel& reply) {
        EXPECT_EQ(data.ReadInterfaceToken(), u"com.talvex.peerdesk.KeyMouseManager");
        EXPECT_TRUE(thread.Ends([this] { manager.QueryKeyMouseServiceBinder(9); }));
        reply.WriteInt32(21);
        return answer;
    }));
    ExpectLines({"I Collection: OnAbilityConnectDone, bundleName:com.talvex.peerdesk, abilityName:KeyMouseService,"
                 "         reusultCode:0",
        "I Collection: GetForegroundOsAccountLocalId ret = 0, currentLocalId = 101",
        "I Collection: Update the binder value of the existing userId."});
    EXPECT_THAT(Explain("peer-network"), ElementsAre("!service connected"));
    EXPECT_FALSE(manager.DisconnectKeyMouseService(101));
    ExpectLast("E Collection: SendRequest failed");
    EXPECT_EQ(device.journal.Calls().back(), "SendRequest(service, 15, 0, 8)");
    answer = 0;
    manager.UpdateKeyMouseServiceBinder(100, manager.QueryKeyMouseServiceBinder(101));
    EXPECT_TRUE(manager.DisconnectKeyMouseService(101));
    ExpectLast("I Collection: reply ret: 21");
    EXPECT_FALSE(manager.QueryKeyMouseServiceBinder(101));
    EXPECT_TRUE(manager.QueryKeyMouseServiceBinder(100));
    device.apps.Disconnect();
    EXPECT_THAT(Explain("peer-network"), ElementsAre());
}

TEST_F(KeyMouseService, PullsPassOverDevicesOfOtherTypesAndReadTheOwnSwitchOnce) {
    peer.deviceTypeId = 156;
    AddPeer("second");
    device.profiles.during[""] = [this] {
        manager.UpdateEdgeSwitchState(false);
    };
    manager.TryToPullKeyMouseService();
    ExpectCount(SWITCH_OFF, 1);
    ExpectHas("E Collection: Device type is not support, which id is 156.",
        "I Collection: deviceId:" + Masked("second-udid") + " check", CONNECT, QUALIFIED);
    SetPeerSwitch("second", "1");
    ExpectHas("I Collection: local deviceType: 2607, remote deviceType: 14");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
