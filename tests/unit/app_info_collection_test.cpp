#include "plugin/info_collection/app_info_collection.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

const std::string ACTION = "com.varn.collaborationFwk.infoCollection.setting";
const Metadata CONFIG{"collaborationFwk.infoCollection.configFile", "", "$profile:facts"};

// A member of an element of "dynamic_info".
std::string Item(const std::string& name, const std::string& code = R"("1f")", const std::string& data = "facts") {
    return "\"" + name + R"(":{"serviceExtensionAbilityName":"Facts","commandCode":)" + code +
        R"(,"variable":"var","dataShareUri":"datashare:///com.app/)" + data + "\"}";
}

// One that lacks its text `n`.
std::string Without(size_t n) {
    std::string item = Item("lacks" + std::to_string(n));
    const char* const members[] = {"serviceExtensionAbilityName", "commandCode", "variable", "dataShareUri"};
    return item.replace(item.find(members[n]), 1, "_");
}

std::string Profile(const std::string& dynamicElements, const std::string& staticInfo = "{}") {
    return R"({"static_info":)" + staticInfo + R"(,"dynamic_info":[)" + dynamicElements + "]}";
}

class AppCatalogue : public Testing::LibraryTest {
protected:
    // Everything gathered: static pairs as key=value, then dynamic items as name@bundle.
    std::string Contents() {
        std::string contents;
        for (const auto& [key, value] : apps.GetStaticMap()) {
            contents.append(key).append("=").append(value).append(" ");
        }
        for (const auto& [name, record] : apps.GetDynamicMap()) {
            contents.append(name).append(name == record.infoName ? "@" : "!@").append(record.bundleName).append(" ");
        }
        return contents;
    }

    AppInfoCollection& apps = *AppInfoCollection::GetInstance();
};

TEST_F(AppCatalogue, ScansAbilitiesAndExtensionsOnceForTheAction) {
    apps.Init();
    apps.Init();
    const std::string got = "I Collection: GetBundleMgrProxy success";
    const std::string noApp = "I Collection: no app integrated found";
    ExpectAll({"I Collection: start load local abilities", "GetSystemAbility(401)", got,
        "QueryAbilityInfosV9(" + ACTION + ", 4, 100)",
        "I Collection: ability query action: " + ACTION + ", ret: 0, size: 0",
        "I Collection: end load local abilities, size: 0", "I Collection: start load extensionAbilities",
        "GetSystemAbility(401)", got, "QueryExtensionAbilityInfosV9(" + ACTION + ", 4, 100)",
        "I Collection: extAbility query action: " + ACTION + ", ret: 0, size: 0",
        "I Collection: end load extensionAbilities, size: 0", noApp, "I Collection: init already finished", noApp});
}

TEST_F(AppCatalogue, IsScannedByOneOfTwoThatStartAtOnce) {
    Testing::SecondThread other;
    device.systemAbilities.during["GetSystemAbility"] = [&] {
        EXPECT_TRUE(other.Waits([this] { apps.Init(); }));
    };
    apps.Init();
    other.Join();
    ExpectCount("I Collection: init already finished", 1);
    EXPECT_EQ(device.journal.CountCallsOf("QueryAbilityInfosV9"), 1U);
}

TEST_F(AppCatalogue, ReadsTheProfileOfEachMatchingMetadataEntry) {
    device.apps.abilities = {{"Page", "com.app", {{"other", "", ""}, CONFIG}}};
    device.apps.resources["com.app"] = {Profile("{" + Item("cpu") + "}", R"({"model":"x","n":1})")};
    apps.Init();
    EXPECT_EQ(device.journal.LinesOf("GetProfileInfo").size(), 4U);
    const std::vector<std::string> lines = device.journal.Lines();
    EXPECT_THAT(std::vector(lines.begin() + 3, lines.begin() + 10),
        ElementsAre("I Collection: ability: Page,bundleName: com.app, metadatasize: 2",
            "I Collection: ability metadata other", "I Collection: ability metadata " + CONFIG.name,
            "I Collection: getProfile success", "I Collection: staticInfoObj key:model val:x",
            "I Collection: key:cpu-[com.app, Facts, 1f, var, dat**cts",
            "I Collection: dynamicInfoObj done for key:cpu"));
    EXPECT_TRUE(lines[10].starts_with("I Collection: json parsed{\n\t\"dynamic_info\" : "));
    ExpectHasNot("I Collection: no app integrated found");
    EXPECT_EQ(Contents(), "model=x cpu@com.app ");
    const DynamicInfoMapByPak record = apps.GetDynamicMap()["cpu"];
    EXPECT_EQ(record.serviceExtensionAbilityName + record.commandCode + record.variable, "Facts1fvar");
    EXPECT_EQ(record.dataShareUri, "datashare:///com.app/facts");
}

TEST_F(AppCatalogue, LeavesANameToTheAppThatWasFoundFirstAndGathersTextsOverAScan) {
    device.apps.abilities = {{"Page", "com.first", {CONFIG}}, {"Page", "com.none", {CONFIG}}};
    device.apps.extensions = {{"Facts", "com.second", {CONFIG}}, {"Facts", "com.third", {CONFIG}}};
    device.apps.resources["com.first"] = {Profile("{" + Item("a") + "}", R"({"s":"first"})")};
    device.apps.resources["com.second"] = {Profile("{" + Item("a") + "," + Item("b") + "}", R"({"s":"second"})")};
    device.apps.resources["com.third"] = {Profile("{" + Item("c") + "}")};
    apps.Init();
    EXPECT_EQ(Contents(), "s=first a@com.first b@com.second c@com.third ");
    ExpectCount("E Collection: getProfile fail", 1);
    ExpectCount("I Collection: staticInfoObj key:s val:first", 1);
    ExpectCount("I Collection: staticInfoObj key:s val:second", 2);  // again with the third's
}

TEST_F(AppCatalogue, CountsMetadataEntriesThatDifferInAnyField) {
    const Metadata otherResource{CONFIG.name, "", "$profile:more"};
    device.apps.abilities = {{"Page", "com.app", {CONFIG, otherResource}}};
    device.apps.extensions = {{"Facts", "com.app", {CONFIG, {CONFIG.name, "v", CONFIG.resource}, otherResource}}};
    apps.Init();
    ExpectHas("I Collection: end load local abilities, size: 2", "I Collection: end load extensionAbilities, size: 3");
    const std::vector<AppInfoMeta> ascending{{"a", "z", "z", "z"}, {"a", "z", "z", "z\x01"}, {"a", "z", "z", "\xff"},
        {"a", "z", "za", "a"}, {"a", "za", "a", "a"}, {"aa", "a", "a", "a"}};
    for (size_t i = 1; i < ascending.size(); ++i) {
        EXPECT_TRUE(ascending[i - 1] < ascending[i] && !(ascending[i] < ascending[i - 1])) << i;
    }
}

TEST_F(AppCatalogue, GoesOnWithTheOtherScanWhenOneFails) {
    device.apps.extensions = {{"Facts", "com.app", {CONFIG}}};
    device.apps.resources["com.app"] = {Profile("{" + Item("a") + "}")};
    device.apps.codes["QueryAbilityInfosV9"] = 8;
    apps.Init();
    ExpectHas("E Collection: QueryAbilityInfosV9 Error", "I Collection: LoadLocalAbilities empty");
    EXPECT_EQ(Contents(), "a@com.app ");
    device.apps.codes["QueryExtensionAbilityInfosV9"] = 9;
    EXPECT_FALSE(apps.LoadExtensionAbilities());
    ExpectLast("E Collection: QueryExtensionAbilityInfosV9 Error");
}

TEST_F(AppCatalogue, IsFinishedEvenWhenThereIsNoBundleManager) {
    device.systemAbilities.hasManager = false;
    apps.Init();
    const std::string noManager = "E Collection: failed to get system manager";
    const std::string noProxy = "E Collection: failed to get bms proxy";
    ExpectLines({"I Collection: start load local abilities", noManager, noProxy,
        "I Collection: LoadLocalAbilities empty", "I Collection: start load extensionAbilities", noManager, noProxy,
        "I Collection: LoadExtensionAbilities empty", "I Collection: no app integrated found"});
    device.systemAbilities.hasManager = true;
    device.systemAbilities.running.clear();
    EXPECT_EQ(apps.GetBundleMgrProxy(), nullptr);
    ExpectLast("E Collection: failed to get BUNDLE_MGR_SERVICE_SYS_ABILITY_ID");
    device.systemAbilities.running[401] = device.MakeRemote("something else", nullptr);
    EXPECT_EQ(apps.GetBundleMgrProxy(), nullptr);
    ExpectLast("E Collection: failed to iface cast bms object");
    apps.Init();
    ExpectHas("I Collection: init already finished");
}

TEST_F(AppCatalogue, TakesOfAProfileWhatIsWellFormed) {
    const std::string noJson = "E Collection: StringToJson failed";
    const std::string noStatic = "E Collection: staticInfoObj format not correct";
    const std::string noDynamic = "E Collection: dynamicInfoObjArray format not correct";
    const std::string noElement = "I Collection: dynamicInfoObj config wrong format";
    const std::string noItem = "I Collection: dynamicInfoObj key-value config wrong format";
    const std::string done = "I Collection: dynamicInfoObj done for key:";
    std::string manyElements;
    for (int i = 0; i < 1023; ++i) {
        manyElements += "{},";
    }
    struct Row {
        std::string text;
        std::string contents;  // gathered up to here
        std::string lastLine;  // empty: none
        bool isRejected;
    };
    const std::vector<Row> rows{{"", "", noJson, true}, {"[]", "", noJson, true},
        {std::string(100000, '['), "", noJson, true}, {R"({"dynamic_info":[{)" + Item("a") + "}]}", "", noStatic, true},
        {R"({"static_info":["s"],"dynamic_info":[]})", "", noStatic, true},
        {R"({"static_info":{"s":"1","n":2},"dynamic_info":{}})", "s=1 ", noDynamic, true},
        {R"({"static_info":{"s":"2"}})", "s=1 ", noDynamic, true}, {Profile(""), "s=1 ", "", false},
        {Profile("5"), "s=1 ", noElement, false}, {Profile(R"({"a":"text"})"), "s=1 ", noItem, false},
        {Profile(
             "{" + Item("a", "31") + "," + Without(0) + "," + Without(1) + "," + Without(2) + "," + Without(3) + "}"),
            "s=1 ", "", false},
        {Profile(R"({"0":5,"1":{},)" + Item("a") + "}"), "s=1 a@com.app ", done + "a", false},
        {Profile(manyElements + "5,{" + Item("late") + "}"), "s=1 a@com.app ", noElement, false},
        {Profile(manyElements + "{" + Item("last") + "}"), "s=1 a@com.app last@com.app ", done + "last", false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 100));
        device.journal.Clear();
        EXPECT_EQ(apps.ParseStrToJson(row.text, "com.app").isNull(), row.isRejected);
        EXPECT_EQ(Contents(), row.contents);
        EXPECT_EQ(device.journal.Lines().empty() ? "" : device.journal.Lines().back(), row.lastLine);
    }
}

TEST_F(AppCatalogue, CollectsCurrentValuesIntoAnObjectOrNullWhenThereIsNone) {
    apps.ParseStrToJson(Profile("{" + Item("a") + "," + Item("b") + "," + Item("") + "}"), "com.app");
    EXPECT_TRUE(apps.GetDeviceDynamicInfos().isNull());
    ExpectLast("I Collection: profileObjStr result:null\n");

    device.apps.Connect(device.MakeApp("Facts", [](auto& item) { return item == u"b" ? u"" : u"value"; }));
    device.journal.Clear();
    const Json::Value infos = apps.GetDeviceDynamicInfos();
    EXPECT_EQ(infos.toStyledString(), "{\n\t\"a\" : \"value\"\n}\n");
    const std::string asked = "I Collection: GetLocalSingleDynamicInfoByPak ";
    ExpectHas("I Collection: dynamic key:a,info:a,bundle:com.app,Facts,Code:1f,var,dat**cts",
        asked + "Result, infoName:a, result:value",
        asked + "check empty string, infoName:b, result:", asked + "check empty string, infoName:, result:value",
        "I Collection: profileObjStr result:" + infos.toStyledString());
}

// An app offers "cpu" and "disk", each with a URI of its own.
class AppInfoPublishing : public AppCatalogue {
protected:
    AppInfoPublishing() {
        device.apps.extensions = {{"Facts", "com.app", {CONFIG}}};
        device.apps.resources["com.app"] = {
            Profile("{" + Item("cpu", R"("1")", "cpu") + "," + Item("disk", R"("1")", "disk") + "}")};
    }
    // Connections to the app are made as soon as the library waits for them; it answers every item with "value".
    void StartApp() {
        device.time.At(0s, [this] { device.apps.Connect(device.MakeApp("Facts", [](auto&) { return u"value"; })); });
    }

    const std::string put = "PutCharacteristicProfile(LOCAL, infoCollection, infoCollectionCharacterKey, "
                            "{\n\t\"cpu\" : \"value\",\n\t\"disk\" : \"value\"\n}\n)";
};

TEST_F(AppInfoPublishing, PutsCurrentValuesAndObservesEachUriAtEveryInit) {
    StartApp();
    apps.Init();
    std::vector<std::string> expected{put, "I Collection: profileObj write into DP and push to remote devices"};
    for (const std::string name : {"cpu", "disk"}) {
        const std::string uri = "datashare:///com.app/" + name;
        const std::string masked = name == "cpu" ? "dat**cpu" : "dat**isk";
        expected.insert(expected.end(),
            {"I Collection: dynamic key:" + name + ",info:" + name + ",dataShareUri:" + masked,
                "GetSystemAbility(70635)", "Creator(" + uri + ", , 2)", "RegisterObserverExt(" + uri + ", true)",
                "I Collection: InitDataShareManager RegisterObserver for " + masked});
    }
    std::vector<std::string> actual = device.journal.All();
    actual.erase(actual.begin(), std::find(actual.begin(), actual.end(), put));
    std::erase_if(actual, [](const std::string& line) { return line.starts_with("I Datashare: "); });
    EXPECT_EQ(actual, expected);

    device.journal.Clear();
    apps.Init();
    EXPECT_EQ(device.journal.All().front(), "I Collection: init already finished");
    ExpectHas(put);
    EXPECT_EQ(device.dataShare.extObservers.size(), 4U);
    ExpectHasNot("GetSystemAbility(70635)");
}

TEST_F(AppInfoPublishing, SkipsTheProfileWithoutValuesAndUrisWithoutHelper) {
    device.dataShare.codes["Creator(datashare:///com.app/cpu, , 2)"] = 1;
    device.apps.codes["ConnectAbility"] = 9;
    apps.Init();
    EXPECT_EQ(
        device.journal.LinesOf("GetInfoAndPutToDpOnStart").back(), "I Collection: profileObj null, skip write into DP");
    ExpectLinesOf("InitDataShareManager",
        {"I Collection: dynamic key:cpu,info:cpu,dataShareUri:dat**cpu",
            "E Collection: InitDataShareManager fail for dat**cpu",
            "I Collection: dynamic key:disk,info:disk,dataShareUri:dat**isk",
            "I Collection: InitDataShareManager RegisterObserver for dat**isk"});
    EXPECT_EQ(device.dataShare.extObservers.size(), 1U);
}

TEST_F(AppInfoPublishing, ObservesEvenWhenTheProfileServiceRefuses) {
    StartApp();
    device.profiles.codes["PutServiceProfile"] = 3;
    apps.Init();
    EXPECT_THAT(device.journal.LinesOf("GetInfoAndPutToDpOnStart"),
        ElementsAre("I Collection: AppInfoCollection init done",
            "I Collection: AppInfoCollection GetDeviceDynamicInfos done",
            ::testing::StartsWith("E Collection: PutInfoCollectionWithJson failed ret:"),
            "I Collection: profileObj write into DP and push to remote devices"));
    ExpectHasNot(put);
    EXPECT_EQ(device.dataShare.extObservers.size(), 2U);
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
