#include "plugin/info_collection/app_info_collection.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

const std::string NULL_VALUES = "I Collection: profileObj null, skip write into DP";

// An app offers "cpu" and "disk", each with a URI of its own; the system ability of shared data runs.
class AppInfoPublishing : public Testing::LibraryTest {
protected:
    AppInfoPublishing() {
        const auto item = [](const std::string& name) {
            return "\"" + name + R"(":{"serviceExtensionAbilityName":"Facts","commandCode":"1","variable":"",)" +
                R"("dataShareUri":"datashare:///com.app/)" + name + "\"}";
        };
        device.apps.extensions = {{"Facts", "com.app", {{"collaborationFwk.infoCollection.configFile", "", ""}}}};
        device.apps.resources["com.app"] = {
            R"({"static_info":{},"dynamic_info":[{)" + item("cpu") + "," + item("disk") + "}]}"};
        device.systemAbilities.running[70635] = device.MakeRemote("profiles", nullptr);
    }
    // Connections to the app are made as soon as the library waits for them; it answers every item with "value".
    void StartApp() {
        device.time.At(std::chrono::seconds(0), [this] {
            device.apps.Connect(device.MakeRemote("Facts", [](uint32_t, MessageParcel&, MessageParcel& reply) {
                reply.WriteUint32(0);
                reply.WriteString16(u"value");
                return 0;
            }));
        });
    }
    // The journal from the first line that contains `text`.
    std::vector<std::string> From(const std::string& text) {
        std::vector<std::string> all = device.journal.All();
        all.erase(all.begin(), std::find_if(all.begin(), all.end(), [&](const std::string& line) {
            return line.find(text) != std::string::npos;
        }));
        return all;
    }

    AppInfoCollection& apps = *AppInfoCollection::GetInstance();
    const std::string put = "PutCharacteristicProfile(LOCAL, infoCollection, infoCollectionCharacterKey, "
                            "{\n\t\"cpu\" : \"value\",\n\t\"disk\" : \"value\"\n}\n)";
};

TEST_F(AppInfoPublishing, PutsCurrentValuesAndObservesEachUriAtEveryInit) {
    StartApp();
    apps.Init();
    EXPECT_TRUE(device.journal.Has("I Collection: AppInfoCollection init done"));
    std::vector<std::string> expected{put, "I Collection: profileObj write into DP and push to remote devices"};
    for (const std::string name : {"cpu", "disk"}) {
        const std::string uri = "datashare:///com.app/" + name;
        const std::string masked = name == "cpu" ? "dat**cpu" : "dat**isk";
        expected.insert(expected.end(),
            {"I Collection: dynamic key:" + name + ",info:" + name + ",dataShareUri:" + masked,
                "GetSystemAbility(70635)", "Creator(" + uri + ", , 2)", "RegisterObserverExt(" + uri + ", true)",
                "I Collection: InitDataShareManager RegisterObserver for " + masked});
    }
    std::vector<std::string> actual = From("PutCharacteristicProfile(");
    std::erase_if(actual, [](const std::string& line) { return line.starts_with("I Datashare: "); });
    EXPECT_EQ(actual, expected);

    device.journal.Clear();
    apps.Init();
    EXPECT_EQ(device.journal.All().front(), "I Collection: init already finished");
    EXPECT_TRUE(device.journal.Has(put));
    EXPECT_EQ(device.dataShare.extObservers.size(), 4U);
    EXPECT_FALSE(device.journal.Has("GetSystemAbility(70635)"));
}

TEST_F(AppInfoPublishing, SkipsTheProfileWithoutValuesAndUrisWithoutHelper) {
    device.dataShare.codes["Creator(datashare:///com.app/cpu, , 2)"] = 1;
    device.apps.codes["ConnectAbility"] = 9;
    apps.Init();
    std::vector<std::string> actual = From("AppInfoCollection GetDeviceDynamicInfos done");
    std::erase_if(actual, [](const std::string& line) { return line.find(" Collection: ") == std::string::npos; });
    EXPECT_THAT(actual,
        ElementsAre("I Collection: AppInfoCollection GetDeviceDynamicInfos done", NULL_VALUES,
            "I Collection: dynamic key:cpu,info:cpu,dataShareUri:dat**cpu",
            "E Collection: InitDataShareManager fail for dat**cpu",
            "I Collection: dynamic key:disk,info:disk,dataShareUri:dat**isk",
            "I Collection: InitDataShareManager RegisterObserver for dat**isk"));
}

TEST_F(AppInfoPublishing, ObservesEvenWhenTheProfileServiceRefuses) {
    StartApp();
    device.profiles.codes["PutServiceProfile"] = 3;
    apps.Init();
    const std::vector<std::string> lines = device.journal.LinesOf("GetInfoAndPutToDpOnStart");
    EXPECT_THAT(lines,
        ElementsAre("I Collection: AppInfoCollection init done",
            "I Collection: AppInfoCollection GetDeviceDynamicInfos done", ::testing::_,
            "I Collection: profileObj write into DP and push to remote devices"));
    EXPECT_TRUE(lines[2].starts_with("E Collection: PutInfoCollectionWithJson failed ret:"));
    EXPECT_FALSE(device.journal.Has(put));
    EXPECT_EQ(device.dataShare.extObservers.size(), 2U);
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
