#include "tests/support/key_mouse_test.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr char READY[] = "usual.event.DATA_SHARE_READY";
constexpr char PUBLISHED[] = "I Collection: sync switch state in dp.";

class KeyMouseStartUp : public Testing::KeyMouseTest {
protected:
    // The calls of writing `value` to `key` below `base`.
    static std::vector<std::string> Write(
        const std::string& base, const std::string& key, const std::string& value, const std::string& user = "101") {
        return {"GetDataShareHelper(" + base + ", 70635)",
            "Update(" + base + user + "?Proxy=true&&key=" + key + ", KEYWORD=" + key + ", KEYWORD=" + key +
                " VALUE=" + value + ")",
            "Release(" + base + ")"};
    }
    static std::vector<std::string> Join(const std::vector<std::vector<std::string>>& parts) {
        std::vector<std::string> all;
        for (const std::vector<std::string>& part : parts) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }
    static std::string Query(const std::string& uri, const std::string& key) {
        return "QueryStringValue(" + uri + ", " + key + ")";
    }
    // The calls of moving the observer from one user to another.
    static std::vector<std::string> Move(const std::string& from, const std::string& to) {
        std::vector<std::string> calls;
        for (const auto& [operation, user] : {std::pair("Unregister", from), std::pair("Register", to)}) {
            const std::string uri = USER_TABLE + user + "?Proxy=true";
            calls.push_back("GetDataShareHelper(" + uri + ", 70635)");
            calls.push_back(operation + ("Observer(" + uri) + "&key=peer_desk_state)");
            calls.push_back("Release(" + uri + ")");
        }
        return calls;
    }
    // What was called, but for what is asked of devices and applications.
    std::vector<std::string> CallsOfSettings() {
        std::vector<std::string> calls = device.journal.Calls();
        std::erase_if(calls,
            [](const std::string& call) { return call.starts_with("Get") && !call.starts_with("GetDataShareHelper"); });
        return calls;
    }
    // What a switch to a user whose own switch is on calls.
    std::vector<std::string> SwitchTo(int32_t user, OsAccountType type) {
        device.dataShare.SetSetting(USER_TABLE + std::to_string(user), main, "1");
        device.users.foreground = user;
        device.users.types[user] = type;
        device.journal.Clear();
        manager.OnEventUserSwitched();
        return CallsOfSettings();
    }
    // How that ends.
    std::vector<std::string> Published(const std::string& user, const std::string& outcome, const std::string& value) {
        return {Query(USER_TABLE + user + "?Proxy=true", main), outcome, put + value, "AddAsynTask(4)"};
    }

    const std::string main = "peer_desk_state";
    const std::string edge = "peer_desk_edge_state";
    const std::string globalUri = GLOBAL_TABLE + "?Proxy=true";
    const std::string userUri = USER_TABLE + "101?Proxy=true";

    const std::string put = "PutCharacteristicProfile(local-udid, " + SWITCH_SERVICE + ", SwitchStatus, ";
    const std::string disconnect = "DisconnectAbility(known)";
    const std::string observed = "Observer(" + USER_TABLE + "101?Proxy=true&key=peer_desk_state)";
};

TEST_F(KeyMouseStartUp, PublishesOnceTheProfileAndTheSettingsAreReadyAndThenPullsTheService) {
    manager.OnDpStart();
    ExpectCalls({"GetLocalDeviceInfo(varn.collaborationfwk.deviceDetect)", "AddAsynTask(4)"});
    EXPECT_TRUE(manager.SubscribeCommonEvent());
    EXPECT_THAT(device.users.subscribers.at(0)->GetSubscribeInfo().GetMatchingSkills().GetEvents(), ElementsAre(READY));
    for (const std::string event :
        {"usual.event.OTHER", "usual.event.DATA_SHARE_READY2", "usual.event.DATA_SHARE_READ"}) {
        device.journal.Clear();
        device.users.Publish(event, 3012);
        ExpectAll({"I Collection: on receive " + event});
    }
    device.users.Publish(READY, 3011);
    device.pool.RunAll();
    ExpectHas("I Collection: Dp ret: 1, retry times: 0");  // not known, but not "not ready"
    ExpectHasNot(PUBLISHED);

    device.journal.Clear();
    device.users.Publish(READY, 3012);
    ExpectCalls({Query(globalUri, main), Query(globalUri, edge), Query(userUri, main), Query(userUri, main),
        "GetTrustedDeviceList(varn.collaborationfwk.deviceDetect, )",
        "GetCharacteristicProfile(peer-udid, " + SWITCH_SERVICE + ", SwitchStatus)",
        "GetApplicationInfo(com.talvex.peerdesk, 0, 100)", CONNECT, put + "1)", "AddAsynTask(4)",
        "GetDataShareHelper(" + userUri + ", 70635)", "Register" + observed, "Release(" + userUri + ")"});
    ExpectHas("I Collection: on receive usual.event.DATA_SHARE_READY", PUBLISHED,
        "I Collection: local switch state: 1, statusValue: 1, res: 0",
        "I Collection: UpdateEdgeSwitchState: deviceId: " + Masked("local-udid") + ", ServiceName: " + SWITCH_SERVICE +
            ", state: 1, ret: 0",
        "I Collection: dataShareHelper valid: 1 , dataObserver: 1 ");

    device.journal.Clear();
    device.pool.RunAll();
    EXPECT_EQ(device.time.Elapsed(), 1s);
    EXPECT_EQ(device.profiles.subscriptions.size(), 2U);
    ExpectDecision(QUALIFIED, CONNECTED);
    manager.OnDbStart();  // with all that a publication needs
    ExpectAll({"I Collection: Enter."});
    manager.OnDpStart();
    ExpectHasNot("GetLocalDeviceInfo(varn.collaborationfwk.deviceDetect)");  // it is known
}

TEST_F(KeyMouseStartUp, AsksTheProfileTenTimesASecondApartAndGoesOnWithoutIt) {
    manager.OnDataShareReady();
    device.profiles.codes["GetCharacteristicProfile"] = 98566160;
    manager.OnDpStart();
    device.pool.RunNext();
    EXPECT_EQ(device.time.Elapsed(), 10s);
    std::vector<std::string> lines = device.journal.LinesOf("CheckDpInitAsync");
    ASSERT_EQ(lines.size(), 11U);
    EXPECT_EQ(lines[0], "I Collection: Enter.");
    EXPECT_EQ(lines[1], "I Collection: Dp ret: 98566160, retry times: 0");
    EXPECT_EQ(lines[10], "I Collection: Dp ret: 98566160, retry times: 9");
    ExpectHas("E Collection: get device profile failed! deviceId: " + Masked("local-udid") + ", ret:98566160");
    ExpectCount(put + "1)", 1);
    device.journal.Clear();
    manager.CheckDpInitAsync();  // there are no further attempts
    EXPECT_EQ(device.time.Elapsed(), 10s);
    ExpectCount(put + "1)", 1);
}

TEST_F(KeyMouseStartUp, StopsAskingTheProfileWhenItAnswersWithAnotherError) {
    manager.OnDataShareReady();
    device.profiles.codes["GetCharacteristicProfile"] = 98566160;
    manager.OnDpStart();
    device.time.At(1500ms, [this] { device.profiles.codes["GetCharacteristicProfile"] = -1; });
    device.time.At(500ms, [this] { ExpectHasNot(PUBLISHED); });
    device.pool.RunNext();
    EXPECT_EQ(device.time.Elapsed(), 2s);
    ExpectHas("I Collection: Dp ret: -1, retry times: 2", PUBLISHED);
    EXPECT_EQ(manager.GetDeviceStatusFromDp("peer-udid"), std::pair(false, -1));

    device.profiles.codes.clear();
    EXPECT_EQ(manager.GetDeviceStatusFromDp("peer-udid"), std::pair(true, 0));
}

TEST_F(KeyMouseStartUp, PublishesNothingBeforeThisDeviceIsKnown) {
    device.deviceManager.codes["GetLocalDeviceInfo"] = 5;
    manager.OnDataShareReady();
    manager.OnDpStart();
    ExpectHas("E Collection: Failed to GetLocalDeviceInfo, ret: 5.");
    device.pool.RunAll();
    EXPECT_EQ(device.time.Elapsed(), 10s);
    ExpectHasNot(PUBLISHED);

    device.deviceManager.codes.clear();
    EXPECT_EQ(manager.SetLocalDeviceUdid(), 0);
    // Its type is learnt last: the first decision is made without it.
    ExpectDecision("I Collection: localDeviceType not support 0", STOPPED);
    device.pool.RunAll();
    ExpectDecision(QUALIFIED, CONNECTED);
}

TEST_F(KeyMouseStartUp, TakesARefusedCheckAsDoneButPublishesOnlyAtTheNextEvent) {
    device.pool.refuses = true;
    manager.OnDpStart();
    ExpectHas("W Collection: Add async task failed.");
    manager.OnDataShareReady();
    ExpectCount(PUBLISHED, 1);
    ExpectCount("W Collection: Add async task failed.", 2);
}

TEST_F(KeyMouseStartUp, PublishesEachTimeAlsoWhatIsAsBeforeAndHandsOnTheCode) {
    StartUp();
    device.profiles.codes["PutCharacteristicProfile"] = 77;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(manager.UpdateEdgeSwitchState(false), 77);
        ExpectAll({"I Collection: UpdateEdgeSwitchState 0", SWITCH_OFF, "DisconnectAbility(known)", STOPPED, put + "0)",
            "I Collection: UpdateEdgeSwitchState: deviceId: " + Masked("local-udid") +
                ", ServiceName: " + SWITCH_SERVICE + ", state: 0, ret: 77"});
        device.journal.Clear();
        EXPECT_FALSE(manager.CheckDeviceStatus("local-udid"));
        device.journal.Clear();
    }
}

TEST_F(KeyMouseStartUp, MovesTheOldSwitchesIntoTheUsersTableOnce) {
    const std::string user = USER_TABLE + "101";
    const auto expectUser = [&](const std::string& values) {
        EXPECT_EQ(Setting(user, main) + Setting(user, edge), values);
        device.journal.Clear();
    };
    device.dataShare.SetSetting(user, main, "0");
    device.dataShare.SetSetting(user, edge, "0");
    for (const std::string value : {"", "invalid"}) {
        device.dataShare.SetSetting(GLOBAL_TABLE, main, value);
        device.dataShare.SetSetting(GLOBAL_TABLE, edge, value);
        device.journal.Clear();
        manager.SwitchDataMigration();
        ExpectAll({Query(globalUri, main), "I Collection: statusValue: " + value + ", res: 0", Query(globalUri, edge),
            "I Collection: edgeStatusValue: " + value + ", res: 0"});
        expectUser("00");
    }
    device.dataShare.SetSetting(GLOBAL_TABLE, main, "1");
    device.dataShare.SetSetting(GLOBAL_TABLE, edge, "2");
    device.dataShare.codes[Write(USER_TABLE, main, "1")[1]] = -1;  // the copy is lost, and not tried again
    device.dataShare.codes[Write(globalUri, edge, "invalid")[1]] = -1;
    device.dataShare.codes["QueryStringValue"] = 9;  // only the value counts
    manager.SwitchDataMigration();
    ExpectHas("I Collection: writeUserdataResult: 0, writeDataResult: 1",
        "I Collection: writeUserEdgeResult: 1, writeEdgeDataResult: 0",
        "I Collection: Finish UpdateSwitchStatus, Update status result: -1, key: peer_desk_state, value: 1");
    EXPECT_EQ(CallsOfSettings(),
        Join({{Query(globalUri, main)}, Write(USER_TABLE, main, "1"), Write(globalUri, main, "invalid"),
            {Query(globalUri, edge)}, Write(USER_TABLE, edge, "2"), Write(globalUri, edge, "invalid")}));
    expectUser("02");
    EXPECT_EQ(Setting(GLOBAL_TABLE, main), "invalid");

    device.dataShare.SetSetting(GLOBAL_TABLE, main, "5");
    device.dataShare.SetSetting(GLOBAL_TABLE, edge, "3");
    device.dataShare.codes = {{"QueryStringValue", 9}};  // only the value counts
    device.journal.Clear();
    manager.SwitchDataMigration();  // only the one that could not be made invalid before
    ExpectHas(
        "I Collection: edgeStatusValue: 3, res: 9", "I Collection: writeUserEdgeResult: 1, writeEdgeDataResult: 1");
    EXPECT_EQ(CallsOfSettings(),
        Join({{Query(globalUri, main), Query(globalUri, edge)}, Write(USER_TABLE, edge, "3"),
            Write(globalUri, edge, "invalid")}));
    expectUser("03");

    device.dataShare.SetSetting(GLOBAL_TABLE, edge, "4");
    manager.SwitchDataMigration();
    expectUser("03");
}

TEST_F(KeyMouseStartUp, AChangeInTheUsersTableRetiresTheOldSwitchesAndIsAppliedEachTime) {
    StartUp();
    const auto change = [this](const std::string& value) {
        device.dataShare.SetSetting(USER_TABLE + "101", main, value);
        device.journal.Clear();
        device.dataShare.Change(userUri + "&key=peer_desk_state");
    };
    const auto edgeWrite = Write(globalUri, edge, "invalid");
    const auto mainWrite = Write(globalUri, main, "invalid");
    const std::vector<std::string> applied{Query(userUri, main), "DisconnectAbility(known)", put + "0)"};
    device.dataShare.SetSetting(GLOBAL_TABLE, edge, "1");  // the main one has no row to write
    change("0");
    EXPECT_EQ(CallsOfSettings(), Join({edgeWrite, mainWrite, applied}));
    EXPECT_EQ(Setting(GLOBAL_TABLE, edge), "invalid");
    for (const std::string value : {"0", "1 ", "10"}) {
        change(value);
        EXPECT_EQ(device.journal.Lines()[0], "I Collection: key mouse observer onchange");
        ExpectHas("I Collection: mainDataMigrationDone: 0, dataMigrationNotDone: 1",
            "I Collection: local switch state: 0, statusValue: " + value + ", res: 0");
        EXPECT_EQ(CallsOfSettings(), Join({mainWrite, applied}));
    }
    device.dataShare.SetSetting(GLOBAL_TABLE, main, "1");
    change("0");
    ExpectHas("I Collection: mainDataMigrationDone: 1, dataMigrationNotDone: 1");
    change("0");
    EXPECT_EQ(CallsOfSettings(), applied);
    manager.GetLocalSwitchStateFromSettings();
    EXPECT_FALSE(manager.CheckDeviceStatus("local-udid"));
    change("1");
    ExpectDecision(QUALIFIED, CONNECTED);
    EXPECT_EQ(device.pool.Size(), 0U);
    device.dataShare.codes["QueryStringValue"] = 9;  // with "1" as value
    EXPECT_FALSE(manager.GetLocalSwitchStateFromSettings());
    EXPECT_FALSE(manager.CheckDeviceStatus("local-udid"));
    device.dataShare.codes.clear();
    EXPECT_TRUE(manager.GetLocalSwitchStateFromSettings());
    EXPECT_TRUE(manager.CheckDeviceStatus("local-udid"));
}

TEST_F(KeyMouseStartUp, WritesNothingWithoutAWayToTheSettings) {
    device.dataShare.codes["GetDataShareHelper"] = 1;
    EXPECT_FALSE(manager.UpdateSwitchStateToSettings(USER_TABLE, "peer_desk_state", "0"));
    ExpectLast("E Collection: GetStringValue, dataShareHelper nullptr.");
    manager.KeymouseRegisterObserver(101);
    ExpectLast("I Collection: dataShareHelper valid: 0 , dataObserver: 1 ");
    EXPECT_TRUE(device.dataShare.abilityObservers.empty());
    device.users.refusesSubscribers = true;
    EXPECT_FALSE(manager.SubscribeCommonEvent());
    ExpectLast("I Collection: SubscribeCommonEvent, ret = 0");
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
    ExpectHasNot("Unregister" + observed);
    ExpectHasNot(STOPPED);
    ExpectHas(PUBLISHED);

    EXPECT_EQ(SwitchTo(102, OsAccountType::PRIVATE),
        Join({Move("101", "102"), {"SendRequest(service, 15, 0, 8)", disconnect},
            Write(USER_TABLE + "102?Proxy=true", main, "0", "102"), Published("102", disconnect, "0)")}));
    ExpectHas("I Collection: reply ret: -4", "I Collection: OsAccountType is PRIVATE",
        "I Collection: UpdateEdgeSwitchState: deviceId: " + Masked("local-udid") + ", ServiceName: " + SWITCH_SERVICE +
            ", result: 1");
    device.journal.Clear();
    device.users.foregroundCode = 3;
    EXPECT_EQ(manager.GetLocalAccountId(), 100);
    ExpectLines({"I Collection: enter", "I Collection: GetForegroundOsAccountLocalId ret = 3, currentLocalId = 100"});
}

TEST_F(KeyMouseStartUp, OnlyAPrivateUsersSwitchIsWrittenWhichMayBeTheFirstUsersToo) {
    StartUp();
    EXPECT_EQ(SwitchTo(102, OsAccountType::PRIVATE),
        Join({Write(USER_TABLE + "102?Proxy=true", main, "0", "102"), Published("102", disconnect, "0)")}));
    EXPECT_EQ(SwitchTo(103, OsAccountType::NORMAL),
        Join({Move("102", "103"), {disconnect}, Published("103", CONNECT, "1)")}));
    device.users.typeCode = 7;  // a type that came with a failure does not count
    EXPECT_EQ(SwitchTo(104, OsAccountType::PRIVATE),
        Join({Move("103", "104"), {disconnect}, Published("104", CONNECT, "1)")}));
    EXPECT_EQ(Setting(USER_TABLE + "102", main) + Setting(USER_TABLE + "104", main), "01");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
