#include "plugin/device_profile/device_profile_manager.h"
#include "tests/support/profile_listener.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

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
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: PutProfileJson", putService, "I Collection: PutServiceProfile success",
            "I Collection: PutCharacteristicProfile: deviceId: **, ServiceName: infoCollection, "
            "InfoCollectionJson: {**\n",
            "PutCharacteristicProfile(LOCAL, infoCollection, infoCollectionCharacterKey, {\n\t\"a\" : \"1\"\n}\n)"));

    device.profiles.codes["PutCharacteristicProfile"] = 9;
    EXPECT_EQ(manager.PutInfoCollectionWithJson(info), 9);
    device.journal.Clear();
    device.profiles.codes["PutServiceProfile"] = DeviceProfileClient::NOT_READY;
    EXPECT_EQ(manager.PutInfoCollectionWithJson(info), 98566160);
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: PutProfileJson", putService, "E Collection: PutServiceProfile failed ret:98566160"));
}

TEST_F(DeviceProfileExchange, ReadsACharacteristicAndDoubtsTheAnswer) {
    const std::string udid = "peer-udid-0001";
    device.profiles.characteristics[{udid, "sound", "volume"}] = Testing::ProfileOf(udid, "sound", "volume", "11");
    device.profiles.characteristics[{udid, "sound", "tone"}] = Testing::ProfileOf(udid, "radio", "tones", "1");
    device.profiles.characteristics[{udid, "sound", "bass"}] = Testing::ProfileOf(udid, "sound", "tone", "1");
    const std::string noFields = "E Collection: extra info not contains necessary fields";
    const std::string sound = R"({"serviceName":"sound"})";
    struct Row {
        std::string key;
        std::string extraInfo;
        std::string value;
        std::string lastLine;  // behind the first; empty: none
    };
    const std::vector<Row> rows{{"volume", sound, "11", "I Collection: GetCharacteristicProfile ret:0"},
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
        EXPECT_EQ(device.journal.Lines().back(), row.lastLine.empty() ? first : row.lastLine);
    }
}

TEST_F(DeviceProfileExchange, WritesACharacteristicUnderTheLocalUdid) {
    device.profiles.codes["PutServiceProfile"] = 4;
    EXPECT_EQ(manager.PutSyncData("volume", "11", R"({"serviceName":"sound","serviceType":"media"})"), 0);
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: start putSyncData, key: volume, "
                    "extraInfo: {\"serviceName\":\"sound\",\"serviceType\":\"media\"}",
            "PutServiceProfile(local-udid, sound, media)", "I Collection: PutServiceProfile ret:4",
            "PutCharacteristicProfile(local-udid, sound, volume, 11)",
            "I Collection: PutCharacteristicProfile: deviceId: l**d, serviceName: sound"));
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
        EXPECT_EQ(device.journal.Lines().back(), line);
    }
    device.host.localDevice = nullptr;
    device.journal.Clear();
    EXPECT_EQ(manager.PutSyncData("key", "value", ""), -1);
    EXPECT_THAT(device.journal.All(),
        ElementsAre(
            "I Collection: start putSyncData, key: key, extraInfo: ", "E Collection: GetLocalDeviceInfo failed"));
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
