#include "tests/support/key_mouse_test.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace std::chrono_literals;
using ::testing::Not;

constexpr char READY[] = "usual.event.DATA_SHARE_READY";
constexpr char PUBLISHED[] = "I Collection: sync switch state in dp.";

class KeyMouseStartUp : public Testing::KeyMouseTest {
protected:
    static std::string Update(const std::string& table, const std::string& key, const std::string& value) {
        return "Update(" + table + "&&key=" + key + ", KEYWORD=" + key + ", KEYWORD=" + key + " VALUE=" + value + ")";
    }

    const std::string put = "PutCharacteristicProfile(local-udid, " + SWITCH_SERVICE + ", SwitchStatus, ";
    const std::string observed = "Observer(" + USER_TABLE + "101?Proxy=true&key=peer_desk_state)";
};

TEST_F(KeyMouseStartUp, PublishesOnceTheProfileAndTheSettingsAreReadyAndThenPullsTheService) {
    EXPECT_FALSE(manager.HasOnlineDeviceSwitchOn());
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: No Online devices.");
    manager.OnDpStart();
    EXPECT_THAT(device.journal.Calls(),
        ElementsAre("GetLocalDeviceInfo(varn.collaborationfwk.deviceDetect)", "AddAsynTask(4)"));
    EXPECT_TRUE(manager.SubscribeCommonEvent());
    device.users.Publish("usual.event.OTHER", 3012);
    device.users.Publish(READY, 3011);
    device.pool.RunAll();
    EXPECT_TRUE(device.journal.Has("I Collection: Dp ret: 1, retry times: 0"));  // not known, but not "not ready"
    EXPECT_FALSE(device.journal.Has(PUBLISHED));
    manager.OnDbStart();
    EXPECT_EQ(device.pool.Size(), 0U);

    device.journal.Clear();
    device.users.Publish(READY, 3012);
    const std::string query = "QueryStringValue(";
    const std::string user = USER_TABLE + "101?Proxy=true";
    const std::string global = GLOBAL_TABLE + "?Proxy=true";
    EXPECT_THAT(device.journal.Calls(),
        ElementsAre(query + global + ", peer_desk_state)", query + global + ", peer_desk_edge_state)",
            query + user + ", peer_desk_state)", query + user + ", peer_desk_state)",
            "GetTrustedDeviceList(varn.collaborationfwk.deviceDetect, )",
            "GetCharacteristicProfile(peer-udid, " + SWITCH_SERVICE + ", SwitchStatus)",
            "GetApplicationInfo(com.talvex.peerdesk, 0, 100)", CONNECT, put + "1)", "AddAsynTask(4)",
            "GetDataShareHelper(" + user + ", 70635)", "Register" + observed, "Release(" + user + ")"));
    EXPECT_THAT(device.journal.Lines(),
        IsSupersetOf({std::string("I Collection: on receive usual.event.DATA_SHARE_READY"), std::string(PUBLISHED),
            std::string("I Collection: local switch state: 1, statusValue: 1, res: 0"),
            "I Collection: UpdateEdgeSwitchState: deviceId: " + Masked("local-udid") +
                ", ServiceName: " + SWITCH_SERVICE + ", state: 1, ret: 0",
            std::string("I Collection: dataShareHelper valid: 1 , dataObserver: 1 ")}));

    device.journal.Clear();
    device.pool.RunAll();
    EXPECT_EQ(device.time.Elapsed(), 1s);
    EXPECT_EQ(device.profiles.subscriptions.size(), 2U);
    ExpectDecision("I Collection: trust and same acconut device switch on.", CONNECTED);
}

TEST_F(KeyMouseStartUp, AsksTheProfileTenTimesASecondApartAndGoesOnWithoutIt) {
    manager.OnDataShareReady();
    device.profiles.codes["GetCharacteristicProfile"] = 98566160;
    manager.OnDpStart();
    device.pool.RunNext();
    EXPECT_EQ(device.time.Elapsed(), 10s);
    EXPECT_TRUE(device.journal.Has("I Collection: Dp ret: 98566160, retry times: 9"));
    EXPECT_EQ(device.journal.Count(put + "1)"), 1U);
    device.journal.Clear();
    manager.CheckDpInitAsync();  // there are no further attempts
    EXPECT_EQ(device.time.Elapsed(), 10s);
    EXPECT_EQ(device.journal.Count(put + "1)"), 1U);
}

TEST_F(KeyMouseStartUp, PublishesNothingBeforeThisDeviceIsKnown) {
    device.deviceManager.codes["GetLocalDeviceInfo"] = 5;
    manager.OnDataShareReady();
    manager.OnDpStart();
    EXPECT_TRUE(device.journal.Has("E Collection: Failed to GetLocalDeviceInfo, ret: 5."));
    device.pool.RunAll();
    EXPECT_EQ(device.time.Elapsed(), 10s);
    EXPECT_FALSE(device.journal.Has(PUBLISHED));

    device.deviceManager.codes.clear();
    EXPECT_EQ(manager.SetLocalDeviceUdid(), 0);
    // Its type is learnt last: the first decision is made without it.
    ExpectDecision("I Collection: localDeviceType not support 0", STOPPED);
    device.pool.RunAll();
    ExpectDecision("I Collection: trust and same acconut device switch on.", CONNECTED);
}

TEST_F(KeyMouseStartUp, TakesARefusedCheckAsDoneButPublishesOnlyAtTheNextEvent) {
    device.pool.refuses = true;
    manager.OnDpStart();
    EXPECT_TRUE(device.journal.Has("W Collection: Add async task failed."));
    manager.OnDataShareReady();
    EXPECT_EQ(device.journal.Count(PUBLISHED), 1U);
    EXPECT_EQ(device.journal.Count("W Collection: Add async task failed."), 2U);
}

TEST_F(KeyMouseStartUp, MovesTheOldSwitchesIntoTheUsersTableOnce) {
    const std::vector<std::string> keys{"peer_desk_state", "peer_desk_edge_state"};
    for (const std::string& key : keys) {
        device.dataShare.SetSetting(USER_TABLE + "101", key, "0");
    }
    for (const std::string value : {"", "invalid"}) {
        device.dataShare.SetSetting(GLOBAL_TABLE, keys[0], value);
        device.dataShare.SetSetting(GLOBAL_TABLE, keys[1], value);
        manager.SwitchDataMigration();
        EXPECT_EQ(Setting(USER_TABLE + "101", keys[0]) + Setting(USER_TABLE + "101", keys[1]), "00");
    }
    device.dataShare.SetSetting(GLOBAL_TABLE, keys[0], "1");
    device.dataShare.SetSetting(GLOBAL_TABLE, keys[1], "2");
    const std::string retire = Update(GLOBAL_TABLE + "?Proxy=true101?Proxy=true", keys[1], "invalid");
    device.dataShare.codes[retire] = -1;
    manager.SwitchDataMigration();
    EXPECT_EQ(Setting(USER_TABLE + "101", keys[0]) + Setting(USER_TABLE + "101", keys[1]), "12");
    EXPECT_EQ(Setting(GLOBAL_TABLE, keys[0]), "invalid");
    EXPECT_TRUE(device.journal.Has(Update(USER_TABLE + "101?Proxy=true", keys[0], "1")));
    EXPECT_TRUE(device.journal.Has("I Collection: writeUserdataResult: 1, writeDataResult: 1"));
    EXPECT_TRUE(device.journal.Has("I Collection: writeUserEdgeResult: 1, writeEdgeDataResult: 0"));

    device.dataShare.SetSetting(GLOBAL_TABLE, keys[0], "5");
    device.dataShare.codes.clear();
    manager.SwitchDataMigration();  // only the one that could not be made invalid before
    EXPECT_EQ(Setting(USER_TABLE + "101", keys[0]), "1");
    EXPECT_EQ(Setting(GLOBAL_TABLE, keys[1]), "invalid");
    EXPECT_TRUE(device.journal.Has("I Collection: edgeStatusValue: 2, res: 0"));
}

TEST_F(KeyMouseStartUp, AChangeInTheUsersTableRetiresTheOldSwitchesAndIsAppliedEachTime) {
    StartUp();
    device.dataShare.SetSetting(GLOBAL_TABLE, "peer_desk_edge_state", "1");  // the main one has no row to write
    for (const char* value : {"0", "0", "1 ", "10"}) {
        device.dataShare.SetSetting(USER_TABLE + "101", "peer_desk_state", value);
        device.journal.Clear();
        device.dataShare.Change(USER_TABLE + "101?Proxy=true&key=peer_desk_state");
        EXPECT_EQ(device.journal.Count(put + "0)"), 1U);
        EXPECT_TRUE(device.journal.Has("I Collection: mainDataMigrationDone: 0, dataMigrationNotDone: 1"));
        ExpectDecision("I Collection: LocalDevice switch off", STOPPED);
    }
    EXPECT_EQ(Setting(GLOBAL_TABLE, "peer_desk_edge_state"), "invalid");
    device.dataShare.codes["QueryStringValue"] = 9;
    EXPECT_FALSE(manager.GetLocalSwitchStateFromSettings());
}

TEST_F(KeyMouseStartUp, WritesNothingWithoutAWayToTheSettings) {
    device.dataShare.codes["GetDataShareHelper"] = 1;
    EXPECT_FALSE(manager.UpdateSwitchStateToSettings(USER_TABLE, "peer_desk_state", "0"));
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: GetStringValue, dataShareHelper nullptr.");
    manager.KeymouseRegisterObserver(101);
    EXPECT_EQ(device.journal.Lines().back(), "I Collection: dataShareHelper valid: 0 , dataObserver: 1 ");
    EXPECT_TRUE(device.dataShare.abilityObservers.empty());
    device.users.refusesSubscribers = true;
    EXPECT_FALSE(manager.SubscribeCommonEvent());
    EXPECT_EQ(device.journal.Lines().back(), "I Collection: SubscribeCommonEvent, ret = 0");
}

TEST_F(KeyMouseStartUp, AUserSwitchMovesTheObserverAndEndsTheServiceButNotTheFirst) {
    StartUp();
    device.apps.Connect(device.MakeRemote("service", [](uint32_t code, MessageParcel& data, MessageParcel& reply) {
        EXPECT_EQ(code, 15U);
        EXPECT_EQ(data.ReadInterfaceToken(), u"com.talvex.peerdesk.KeyMouseManager");
        EXPECT_EQ(data.GetReadableBytes(), 0U);
        reply.WriteInt32(-4);
        return 0;
    }));
    device.journal.Clear();
    manager.OnEventUserSwitched();
    EXPECT_THAT(device.journal.Calls(), Not(::testing::Contains("Unregister" + observed)));
    EXPECT_FALSE(device.journal.Has(STOPPED));
    EXPECT_TRUE(device.journal.Has(PUBLISHED));

    device.users.foreground = 102;
    device.users.types[102] = OsAccountType::PRIVATE;
    device.dataShare.SetSetting(USER_TABLE + "102", "peer_desk_state", "1");
    device.journal.Clear();
    manager.OnEventUserSwitched();
    const std::string newUser = USER_TABLE + "102?Proxy=true";
    std::vector<std::string> calls = device.journal.Calls();
    std::erase_if(calls, [](const std::string& call) { return call.find("Release") == 0 || call.find("Get") == 0; });
    EXPECT_THAT(calls,
        ElementsAre("Unregister" + observed, "RegisterObserver(" + newUser + "&key=peer_desk_state)",
            "SendRequest(service, 15, 0, 8)", "DisconnectAbility(known)",
            Update(newUser + "102?Proxy=true", "peer_desk_state", "0"),
            "QueryStringValue(" + newUser + ", peer_desk_state)", "DisconnectAbility(known)", put + "0)",
            "AddAsynTask(4)"));
    EXPECT_TRUE(device.journal.Has("I Collection: reply ret: -4"));
    EXPECT_TRUE(device.journal.Has("I Collection: UpdateEdgeSwitchState: deviceId: " + Masked("local-udid") +
        ", ServiceName: " + SWITCH_SERVICE + ", result: 1"));

    device.users.foregroundCode = 3;
    EXPECT_EQ(manager.GetLocalAccountId(), 100);
    EXPECT_EQ(
        device.journal.Lines().back(), "I Collection: GetForegroundOsAccountLocalId ret = 3, currentLocalId = 100");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
