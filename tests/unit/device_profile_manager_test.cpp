#include <algorithm>
#include <optional>

#include "platform/device_manager/dm_device_state.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "tests/support/profile_listener.h"
#include "tests/support/scarce_memory.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

const std::string START = "I Collection: HandleDeviceProfileChange start";
const std::string EXISTS = "E Collection: device exists, ignore this device";

class DeviceProfileSubscription : public Testing::LibraryTest {
protected:
    DeviceProfileSubscription() { device.host.udids["network"] = "peer-udid-0001"; }

    void Report(int state, uint32_t deviceType = DeviceType::PC, int32_t authForm = 1) {
        manager.HandleDeviceProfileChange(state, {"id", "network", "desk", "", deviceType, authForm});
    }
    static std::string Key(const std::string& service, const std::string& characteristic) {
        return "(70635, peer-udid-0001, " + service + ", " + characteristic + ", characteristicValue, -1, 11 10 12)";
    }
    static std::string Subscribe(const std::string& service, const std::string& characteristic) {
        return "SubscribeDeviceProfile" + Key(service, characteristic);
    }
    static std::string Result(const std::string& service) {
        return "I Collection: SubscribeDeviceProfile ret: 0 for deviceIdp**1 SERVICE_ID:" + service;
    }

    using CollectedPairs = DeviceProfileManager::CollectedPairs;

    DeviceProfileManager& manager = DeviceProfileManager::GetInstance();
    const std::string switchService = "SwitchStatus_Key_Mouse_Edge_Crossing";
    const std::string subscribeSwitch = Subscribe(switchService, "SwitchStatus");
    const std::string subscribeInfo = Subscribe("infoCollection", "infoCollectionCharacterKey");
    const sptr<DeviceInfo> peer = MakeSptr<DeviceInfo>("peer-udid-0001", "network", "desk", DeviceType::PC);
};

TEST_F(DeviceProfileSubscription, IsMadeOnceForADeviceHoweverOftenItIsReported) {
    for (const int state : {DEVICE_STATE_ONLINE, DEVICE_INFO_READY, DEVICE_INFO_CHANGED}) {
        Report(state, 11);  // the key-mouse manager hears of changes alone
    }
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 2206);
    const std::string online = ", try to subscribe remote device info";
    ExpectLinesOf("SubscribeOnlineDevice",
        {"I Collection: deviceId:p**1 check", "I Collection: collectInfoList size is: 0", EXISTS, EXISTS, EXISTS});
    ExpectAll({START, "I Collection: new device online:0" + online, "I Collection: deviceId:p**1 check",
        "I Collection: AddDeviceProfileSubscribe enter", subscribeSwitch, Result(switchService), subscribeInfo,
        Result("infoCollection"), "I Collection: collectInfoList size is: 0", START,
        "I Collection: new device online:3" + online, EXISTS, START, EXISTS, "I Collection: enter", EXISTS});
}

TEST_F(DeviceProfileSubscription, OfATvHasFivePartsAndTheCollectedPairsAndEndsByCharacteristicKey) {
    manager.RegisterSubscribeInfoListener([] { return CollectedPairs(); });
    manager.RegisterSubscribeInfoListener([this] {  // the later stands
        return CollectedPairs{std::make_shared<ServiceCollectPairInfo>("sound", "volume"), nullptr,
            std::make_shared<ServiceCollectPairInfo>(switchService, "volume")};
    });
    Report(DEVICE_INFO_CHANGED, DeviceType::TV);
    ExpectLinesOf("AddDeviceProfileSubscribe",
        {"I Collection: AddDeviceProfileSubscribe enter", "I Collection: TV ProfileChangeListener enter"});
    ExpectLinesOf("SubscribeOnlineDevice",
        {"I Collection: deviceId:p**1 check", "I Collection: collectInfoList size is: 3",
            "E Collection: collectInfo is nullptr"});
    ExpectCalls({Subscribe("keyScreen", "keyScreenOn"), Subscribe("wifiDisplay", "status"),
        Subscribe("deviceStatus", "supportSinkService"), subscribeSwitch, subscribeInfo, Subscribe("sound", "volume"),
        Subscribe(switchService, "volume")});
    const std::vector<SubscribeInfo> made = device.profiles.subscriptions;
    EXPECT_EQ(made[0].GetListener(), made[4].GetListener());
    EXPECT_NE(made[0].GetListener(), made[5].GetListener());
    EXPECT_NE(made[5].GetListener(), made[6].GetListener());
    for (const std::string key : {"SwitchStatus", "volume"}) {
        device.journal.Clear();
        device.profiles.Publish(Testing::ProfileOf("peer-udid-0001", switchService, key, "1"));
        ExpectCount("I Collection: local deviceType: 0, remote deviceType: 156", 1);
    }

    device.journal.Clear();
    device.profiles.codes["UnSubscribeDeviceProfile" + Key("wifiDisplay", "status")] = 5;
    Report(DEVICE_STATE_OFFLINE, DeviceType::TV);
    std::vector<std::string> expected{START, "I Collection: old device offline, try to unsubscribe remote device info",
        "I Collection: UnsubscribeOfflineDevice deviceId:p**1", "I Collection: businessMap size: 6"};
    for (const auto& [service, key] : std::vector<std::pair<std::string, std::string>>{{switchService, "SwitchStatus"},
             {"infoCollection", "infoCollectionCharacterKey"}, {"keyScreen", "keyScreenOn"}, {"wifiDisplay", "status"},
             {"deviceStatus", "supportSinkService"}, {switchService, "volume"}}) {
        expected.push_back("UnSubscribeDeviceProfile" + Key(service, key));
        expected.push_back(
            "I Collection: unsubscribe, characteristicKey: " + key + ", ret: " + (key == "status" ? "5" : "0"));
    }
    expected.push_back("I Collection: unsubscribe remove deviceId record");
    ExpectAll(expected);

    // Nothing of it is left to be ended twice.
    device.profiles.codes["SubscribeDeviceProfile"] = 7;
    device.journal.Clear();
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 0);
    EXPECT_EQ(manager.UnsubscribeOfflineDevice(peer), 2207);
    EXPECT_EQ(device.journal.CountCallsOf("UnSubscribeDeviceProfile"), 0U);
}

TEST_F(DeviceProfileSubscription, ThatFailedLeavesADeviceWithNothingToEnd) {
    device.profiles.codes["SubscribeDeviceProfile"] = 7;
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 0);
    EXPECT_EQ(device.journal.LinesOf("SubscribeOnlineDeviceInternal").back(),
        "I Collection: SubscribeDeviceProfile ret: 7 for deviceIdp**1 SERVICE_ID:infoCollection");
    EXPECT_EQ(manager.SubscribeOnlineDeviceInternal("peer-udid-0001", nullptr, "service", "key"), 7);
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 2206);
    EXPECT_EQ(manager.UnsubscribeOfflineDevice(peer), 2207);
    ExpectLast("E Collection: device not exists int profileMap");
    EXPECT_EQ(manager.UnsubscribeOfflineDevice(peer), 2207);
    ExpectLast("E Collection: device not exists, ignore this device");
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 0);
    EXPECT_EQ(manager.SubscribeOnlineDevice(nullptr), 1001);
    EXPECT_EQ(manager.UnsubscribeOfflineDevice(nullptr), 1001);
}

TEST_F(DeviceProfileSubscription, ThatLacksMemoryLeavesADeviceRecorded) {
    {
        const Testing::ScarceMemory scarce;
        EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 2213);
    }
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 2206);
    EXPECT_TRUE(device.journal.Calls().empty());
    EXPECT_EQ(manager.UnsubscribeOfflineDevice(peer), 2207);

    std::optional<Testing::ScarceMemory> scarce;  // from the pairs on
    manager.RegisterSubscribeInfoListener([&] {
        scarce.emplace();
        return CollectedPairs{std::make_shared<ServiceCollectPairInfo>("sound", "volume"),
            std::make_shared<ServiceCollectPairInfo>("sound", "tone")};
    });
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 0);
    scarce.reset();
    ExpectCount("E Collection: profileListener is nullptr", 2);
}

TEST_F(DeviceProfileSubscription, IsNotMadeForOtherAccountsOrInOtherStates) {
    for (const int32_t authForm : {-1, 0, 2}) {
        device.journal.Clear();
        Report(DEVICE_STATE_ONLINE, DeviceType::PC, authForm);
        ExpectAll(
            {START, "E Collection: authForm is not IDENTICAL_ACCOUNT authForm " + std::to_string(authForm) + " "});
    }
    for (const int state : {-1, 4}) {
        device.journal.Clear();
        Report(state);
        ExpectAll({START});
    }
}

TEST_F(DeviceProfileSubscription, ComesBeforeTheKeyMouseManagerHearsOfAPhonePcOrTablet) {
    const std::vector<std::pair<int, std::string>> states{{DEVICE_STATE_ONLINE, "OnDeviceOnline"},
        {DEVICE_INFO_CHANGED, "OnDeviceChanged"}, {DEVICE_STATE_OFFLINE, "OnDeviceOffline"},
        {DEVICE_INFO_READY, "OnDeviceOnline"}, {DEVICE_STATE_OFFLINE, "OnDeviceOffline"},
        {DEVICE_INFO_CHANGED, "OnDeviceChanged"}, {DEVICE_STATE_OFFLINE, "OnDeviceOffline"}};
    const std::vector<std::string> operations{
        "SubscribeOnlineDevice", "UnsubscribeOfflineDevice", "OnDeviceOnline", "OnDeviceOffline", "OnDeviceChanged"};
    for (const uint32_t type : {0U, 11U, 12U, 14U, 17U, 156U, 2607U}) {
        const bool isForwarded = type == 14 || type == 17 || type == 2607;
        for (const auto& [state, told] : states) {
            SCOPED_TRACE(std::to_string(type) + " " + std::to_string(state));
            device.journal.Clear();
            Report(state, type);
            std::vector<std::string> heard;  // which operations have logged, one after another
            for (const auto& entry : device.journal.Entries()) {
                if (std::find(operations.begin(), operations.end(), entry.function) != operations.end() &&
                    (heard.empty() || heard.back() != entry.function)) {
                    heard.push_back(entry.function);
                }
            }
            std::vector<std::string> expected{
                state == DEVICE_STATE_OFFLINE ? "UnsubscribeOfflineDevice" : "SubscribeOnlineDevice"};
            if (isForwarded || state == DEVICE_INFO_CHANGED) {
                expected.push_back(told);
            }
            EXPECT_EQ(heard, expected);
        }
    }
}

// The fake answers inline: whoever is told inside an operation sees which locks it holds.
TEST_F(DeviceProfileSubscription, IsMadeWithoutALockAndEndedUnderOne) {
    device.profiles.answersInline = true;
    for (const auto& [service, key] : std::vector<std::pair<std::string, std::string>>{
             {switchService, "SwitchStatus"}, {"infoCollection", "infoCollectionCharacterKey"}}) {
        device.profiles.Publish(Testing::ProfileOf("peer-udid-0001", service, key, "5"));
    }
    Testing::SecondThread second;
    std::vector<SyncProfileChangeType> told;
    const auto needBothLocks = [this] {
        EXPECT_EQ(manager.UnsubscribeOfflineDevice(MakeSptr<DeviceInfo>("other", "other", "tv", 0)), 2207);
        manager.RegisterSuperDeviceProfileChangeListenerMap("another", nullptr);
    };
    manager.RegisterSubscribeInfoListener([&] {
        EXPECT_TRUE(second.Ends(needBothLocks));
        return CollectedPairs();
    });
    manager.RegisterProfileChangeListener([&](const CharacteristicProfile&, SyncProfileChangeType type) {
        told.push_back(type);
        if (type == SyncProfileChangeType::ADD) {
            EXPECT_TRUE(second.Ends(needBothLocks));
        } else {
            EXPECT_TRUE(second.Ends([this] { manager.RegisterProfileChangeListener(nullptr); }));
            EXPECT_TRUE(second.Waits([this] { EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 0); }));
        }
    });
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 0);
    manager.RegisterSubscribeInfoListener(nullptr);
    EXPECT_EQ(manager.UnsubscribeOfflineDevice(peer), 0);
    second.Join();
    EXPECT_THAT(
        told, ElementsAre(SyncProfileChangeType::ADD, SyncProfileChangeType::ADD, SyncProfileChangeType::DELETE));
    EXPECT_EQ(device.profiles.subscriptions.size(), 2U);
}

TEST_F(DeviceProfileSubscription, GoesOnWhenTheDeviceLeavesMeanwhile) {
    manager.RegisterSubscribeInfoListener([this] {
        manager.RegisterSubscribeInfoListener(nullptr);
        EXPECT_EQ(manager.UnsubscribeOfflineDevice(peer), 0);
        return CollectedPairs{std::make_shared<ServiceCollectPairInfo>("sound", "volume")};
    });
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 0);
    EXPECT_EQ(device.journal.Calls().back(), Subscribe("sound", "volume"));
    EXPECT_EQ(manager.UnsubscribeOfflineDevice(peer), 2207);
    EXPECT_EQ(manager.SubscribeOnlineDevice(peer), 0);
    EXPECT_EQ(device.profiles.subscriptions.size(), 3U);
}

class DeviceProfileExchange : public Testing::LibraryTest {
protected:
    DeviceProfileManager& manager = DeviceProfileManager::GetInstance();
    const std::string deepJson = std::string(100000, '[');
};

TEST_F(DeviceProfileExchange, PublishesInfoUnderTheLocalNameAfterItsService) {
    Json::Value info;
    info["a"] = "1";
    EXPECT_EQ(manager.PutInfoCollectionWithJson(info), 0);
    const std::string putService = "PutServiceProfile(LOCAL, infoCollection, infoCollection)";
    ExpectAll({"I Collection: PutProfileJson", putService, "I Collection: PutServiceProfile success",
        "I Collection: PutCharacteristicProfile: deviceId: **, ServiceName: infoCollection, "
        "InfoCollectionJson: {**\n",
        "PutCharacteristicProfile(LOCAL, infoCollection, infoCollectionCharacterKey, {\n\t\"a\" : \"1\"\n}\n)"});

    device.profiles.codes["PutCharacteristicProfile"] = 9;
    EXPECT_EQ(manager.PutInfoCollectionWithJson(info), 9);
    ExpectLast("E Collection: PutCharacteristicProfile failed ret:9");
    device.journal.Clear();
    device.profiles.codes["PutServiceProfile"] = DeviceProfileClient::NOT_READY;
    EXPECT_EQ(manager.PutInfoCollectionWithJson(info), 98566160);
    ExpectAll({"I Collection: PutProfileJson", putService, "E Collection: PutServiceProfile failed ret:98566160"});
}

TEST_F(DeviceProfileExchange, ReadsACharacteristicAndDoubtsTheAnswerButForItsDevice) {
    const std::string udid = "peer-udid-0001";
    device.profiles.characteristics[{udid, "sound", "volume"}] = Testing::ProfileOf(udid, "sound", "volume", "11");
    device.profiles.characteristics[{udid, "sound", "tone"}] = Testing::ProfileOf(udid, "radio", "tones", "1");
    device.profiles.characteristics[{udid, "sound", "bass"}] = Testing::ProfileOf(udid, "sound", "tone", "1");
    device.profiles.characteristics[{udid, "sound", "far"}] = Testing::ProfileOf("another", "sound", "far", "1");
    const std::string noFields = "E Collection: extra info not contains necessary fields";
    const std::string sound = R"({"serviceName":"sound"})";
    struct Row {
        std::string key;
        std::string extraInfo;
        std::string value;
        std::string lastLine;  // behind the first; empty: none
    };
    const std::vector<Row> rows{{"volume", sound, "11", "I Collection: GetCharacteristicProfile ret:0"},
        {"far", sound, "1", "I Collection: GetCharacteristicProfile ret:0"},
        {"none", sound, "", "E Collection: get device profile failed!"},
        {"tone", sound, "", "E Collection: GetServiceName failed!"},
        {"bass", sound, "", "E Collection: GetCharacteristicKey failed!"},
        {"volume", R"({"serviceName":1})", "", noFields}, {"volume", R"({"serviceType":"sound"})", "", noFields},
        {"volume", "", "", ""}, {"volume", "[]", "", ""}, {"volume", "5", "", ""}, {"volume", deepJson, "", ""}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key + row.extraInfo.substr(0, 100));
        device.journal.Clear();
        EXPECT_EQ(manager.GetSyncData(udid, row.key, row.extraInfo), row.value);
        const std::string first =
            "I Collection: start getSyncData, deviceId: p**1, key: " + row.key + ", extraInfo: " + row.extraInfo;
        EXPECT_EQ(device.journal.Lines().front(), first);
        ExpectLast(row.lastLine.empty() ? first : row.lastLine);
    }
}

TEST_F(DeviceProfileExchange, WritesACharacteristicUnderTheLocalUdid) {
    device.profiles.codes["PutServiceProfile"] = 4;
    EXPECT_EQ(manager.PutSyncData("volume", "11", R"({"serviceName":"sound","serviceType":"media"})"), 0);
    ExpectAll({"I Collection: start putSyncData, key: volume, "
               "extraInfo: {\"serviceName\":\"sound\",\"serviceType\":\"media\"}",
        "PutServiceProfile(local-udid, sound, media)", "I Collection: PutServiceProfile ret:4",
        "PutCharacteristicProfile(local-udid, sound, volume, 11)",
        "I Collection: PutCharacteristicProfile: deviceId: l**d, serviceName: sound"});
    device.profiles.codes["PutCharacteristicProfile"] = 6;
    EXPECT_EQ(manager.PutSyncData("volume", "11", R"({"serviceName":"sound","serviceType":"media"})"), 6);
}

TEST_F(DeviceProfileExchange, WritesNothingWhenItIsNotToldWhere) {
    const std::string noFields = "E Collection: extra info not contains necessary fields";
    const std::string noObject = "I Collection: PutServiceProfile parse failed";
    for (const auto& [extraInfo, line] :
        std::vector<std::pair<std::string, std::string>>{{R"({"serviceName":"a"})", noFields},
            {R"({"serviceType":"a"})", noFields}, {R"({"serviceName":"a","serviceType":{}})", noFields}, {"", noObject},
            {"\"a\"", noObject}, {deepJson, noObject}}) {
        EXPECT_EQ(manager.PutSyncData("key", "value", extraInfo), -1);
        ExpectLast(line);
    }
    device.host.localDevice = nullptr;
    device.journal.Clear();
    EXPECT_EQ(manager.PutSyncData("key", "value", ""), -1);
    ExpectAll({"I Collection: start putSyncData, key: key, extraInfo: ", "E Collection: GetLocalDeviceInfo failed"});
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
