// Who is eligible, and when the companion's service starts, stops and is connected anew.
#include "platform/device_manager/dm_device_state.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "tests/support/key_mouse_test.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace std::chrono_literals;

constexpr char ATTEMPTS[] = "reconnect attempts left";
const std::string QUALIFIED = "I Collection: trust and same acconut device switch on.";
const std::string NOBODY = "I Collection: have not trust and same acconut device switch on.";
const std::string BAD_LIST = "E Collection: trust device list size is invalid";
const std::string SWITCH_OFF = "I Collection: LocalDevice switch off";

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
    const auto expectFailing = [this, good](const std::string& rule) {
        EXPECT_THAT(Explain("peer-network"), ElementsAre(rule));
        manager.StartOrStopKeyMouseService(true);
        ExpectDecision(NOBODY, STOPPED);
        peer = good;
        device.profiles.codes.clear();
    };
    peer.deviceTypeId = 156;
    expectFailing("peer device type supported");
    peer.extraData = R"({"OS_TYPE":11})";
    expectFailing("peer system type supported");
    peer.authForm = 2;
    expectFailing("peer of the same account");
    device.profiles.codes["GetCharacteristicProfile"] = 7;
    expectFailing("peer switch on");
    SetPeerSwitch("peer", "10");
    expectFailing("peer switch on");
    SetPeerSwitch("peer", "1");
    for (const uint32_t type : {11U, 12U, 17U, 2607U, 14U}) {
        peer.deviceTypeId = type;
        EXPECT_THAT(Explain("peer-udid"), ElementsAre());
        manager.StartOrStopKeyMouseService(true);
        EXPECT_TRUE(device.journal.Has("I Collection: deviceId: " + Masked("peer-udid") +
            ", isSupportDevice: 1, isNextDevice: 1, isAccountAuth: 1"));
        ExpectDecision(QUALIFIED, CONNECTED);
    }
    EXPECT_EQ(Explain("stranger").size(), 5U);
}

TEST_F(KeyMouseService, LooksAtTheLocalSideFirst) {
    manager.StartOrStopKeyMouseService(false);
    EXPECT_FALSE(device.journal.Has("GetTrustedDeviceList(varn.collaborationfwk.deviceDetect, )"));
    ExpectDecision(SWITCH_OFF, STOPPED);
    device.deviceManager.local.deviceTypeId = 156;
    manager.SetLocalDeviceUdid();
    EXPECT_THAT(Explain("peer-network"), ElementsAre("local device type supported"));
    device.pool.RunAll();
    ExpectDecision("I Collection: localDeviceType not support 156", STOPPED);
    manager.UpdateEdgeSwitchState(false);
    EXPECT_EQ(Explain("peer-network")[0], "local switch on");
    manager.CheckDeviceStatus("local-udid");
    EXPECT_THAT(device.journal.All(),
        ElementsAre(
            "I Collection: GetEdgeSwitchState for deviceId:" + Masked("local-udid") + " successfully, state:false"));
}

TEST_F(KeyMouseService, SearchesUpToTenThousandTrustedDevicesWhateverTheCodeOfTheList) {
    device.deviceManager.codes["GetTrustedDeviceList"] = 4;
    const DmDeviceInfo good = peer;
    for (const size_t size : {10000U, 10001U, 0U}) {
        device.deviceManager.trusted.assign(size, {"other", "other-network", "other", "{}", 14, 1});
        if (size > 0) {
            device.deviceManager.trusted.back() = good;
        }
        device.journal.Clear();
        EXPECT_EQ(manager.IsSameAccount("peer-network"), size == 10000);
        EXPECT_EQ(manager.IsNextDevice(std::string("peer-network")), size == 10000);
        EXPECT_FALSE(manager.IsSameAccount("unknown"));
        EXPECT_EQ(device.journal.Count(BAD_LIST), size == 10000 ? 0U : 3U);
        manager.StartOrStopKeyMouseService(true);
        size == 10000 ? ExpectDecision(QUALIFIED, CONNECTED) : ExpectDecision(BAD_LIST, STOPPED);
    }
    EXPECT_EQ(manager.getDeviceNetworkId("peer-udid"), "");
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: Failed to GetTrustedDeviceList, ret: 4.");
    device.deviceManager.codes.clear();
    manager.TryToPullKeyMouseService();
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: No trusted devices.");
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
        EXPECT_THAT(device.journal.All(), ElementsAre(line));
    }
}

TEST_F(KeyMouseService, NeedsTheInstalledCompanion) {
    ApplicationInfo& companion = device.apps.applications["com.talvex.peerdesk"];
    const auto expectMissing = [this](const std::string& line) {
        EXPECT_THAT(Explain("peer-network"), ElementsAre("companion installed"));
        EXPECT_EQ(manager.StartKeyMouseService(), 2514);
        EXPECT_TRUE(device.journal.Has("E Collection: " + line));
        ExpectDecision("E Collection: PeerDesk is not installed.", "");
    };
    companion.enabled = false;
    expectMissing("Peerdesk is not installed.");
    companion = {"com.talvex.other", true};
    expectMissing("Peerdesk is not installed.");
    device.apps.applications.clear();
    expectMissing("Query ability infos error");
    device.apps.hasBundleManager = false;
    expectMissing("failed to get bms proxy");
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
    manager.OnDeviceOffline(Peer());
    EXPECT_FALSE(manager.HasOnlineDeviceSwitchOn());
    EXPECT_TRUE(manager.CheckIfNeedStopKeyMouse());
    EXPECT_EQ(device.pool.Size(), 1U);
    device.deviceManager.trusted.clear();
    device.time.At(300s - 1ns, [this] {
        EXPECT_FALSE(device.journal.Has(STOPPED));
        manager.OnDeviceOffline(Peer());  // the pending one serves it too
    });
    device.pool.RunNext();
    EXPECT_EQ(device.journal.Count("E Collection: Stop key mouse service task already start"), 2U);
    ExpectDecision(BAD_LIST, STOPPED);
    EXPECT_EQ(device.pool.Size(), 0U);

    device.pool.refuses = true;
    manager.OnDeviceOffline(Peer());
    manager.OnDeviceOffline(Peer());
    EXPECT_EQ(device.journal.Count("I Collection: add async result = 0"), 2U);
    EXPECT_EQ(manager.OnDeviceOnline(Peer()), 0);
    device.pool.refuses = false;
    EXPECT_EQ(manager.OnDeviceOnline(Peer(156)), 1);  // looked at later, but not taken as online
    EXPECT_EQ(manager.OnDeviceOnline(nullptr), 0);
    manager.OnDeviceOffline(nullptr);
}

TEST_F(KeyMouseService, StaysWhenAPeerThatLeftIsBackInTime) {
    manager.OnDeviceOffline(Peer());
    device.pool.RunAll();
    ExpectDecision(QUALIFIED, CONNECTED);
}

TEST_F(KeyMouseService, FollowsAPeersSwitchIfBothDevicesAreSupported) {
    SetPeerSwitch("peer", "0");
    ExpectDecision(NOBODY, STOPPED);
    SetPeerSwitch("peer", "1");
    ExpectDecision(QUALIFIED, CONNECTED);
    manager.OnDeviceStatusChanged({}, 156);
    ExpectDecision("I Collection: local deviceType or remote deviceType is not supported", "");
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
        EXPECT_TRUE(device.journal.Has("I Collection: runninglock is null"));
        EXPECT_TRUE(device.journal.Has("E Collection: Retry connect key mouse service, connectCount_" + count));
        EXPECT_EQ(device.journal.Count(CONNECTED), count == "2" ? 1U : 0U);
    }
    EXPECT_EQ(device.journal.Lines().back(),
        "E Collection: Retry connect key mouse service more than 3 times, connectCount_3");
    const CrossingRule attempts = manager.ExplainCrossing("peer-network").back();
    EXPECT_EQ(attempts.name, ATTEMPTS);
    EXPECT_FALSE(attempts.holds);

    device.apps.codes["ConnectServiceExtensionAbility"] = 16;
    manager.BindKeymouseServiceReq(true);
    EXPECT_TRUE(device.journal.Has("I Collection: Connect Key mouse service ret:16"));
    EXPECT_TRUE(device.journal.Has("E Collection: Connect Key mouse service failed"));
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: Connect key mouse service failed.");
    EXPECT_EQ(manager.StartKeyMouseService(), 2514);
    device.apps.Disconnect();
    EXPECT_TRUE(device.journal.Has("E Collection: Retry connect key mouse service, connectCount_2"));
    manager.StopKeyMouseService();
    device.apps.Disconnect();
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: KeyMouseService need stop");
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
    EXPECT_THAT(device.journal.All(), ElementsAre("E Collection: keyMouseServiceBinder is null"));
    device.apps.Connect(nullptr, -1);
    EXPECT_FALSE(manager.DisconnectKeyMouseService(101));
    EXPECT_THAT(Explain("peer-network"), ElementsAre());

    int32_t answer = 3;
    device.apps.Connect(device.MakeRemote("service", [&](auto&&...) { return answer; }));
    EXPECT_THAT(device.journal.Lines(),
        ElementsAre("I Collection: OnAbilityConnectDone, bundleName:com.talvex.peerdesk, abilityName:KeyMouseService,"
                    "         reusultCode:0",
            "I Collection: GetForegroundOsAccountLocalId ret = 0, currentLocalId = 101",
            "I Collection: Update the binder value of the existing userId."));
    EXPECT_THAT(Explain("peer-network"), ElementsAre("!service connected"));
    EXPECT_FALSE(manager.DisconnectKeyMouseService(101));
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: SendRequest failed");
    answer = 0;
    EXPECT_TRUE(manager.DisconnectKeyMouseService(101));
    EXPECT_FALSE(manager.QueryKeyMouseServiceBinder(101));
    device.apps.Disconnect();
    EXPECT_THAT(Explain("peer-network"), ElementsAre());
}

TEST_F(KeyMouseService, PullsPassOverDevicesOfOtherTypes) {
    peer.deviceTypeId = 156;
    AddPeer("second");
    manager.TryToPullKeyMouseService();
    EXPECT_TRUE(device.journal.Has("E Collection: Device type is not support, which id is 156."));
    EXPECT_TRUE(device.journal.Has("I Collection: deviceId:" + Masked("second-udid") + " check"));
    ExpectDecision(QUALIFIED, CONNECTED);
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
