#include "plugin/info_collection/app_info_collection.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

using ::testing::ElementsAre;

const std::string ACTION = "com.varn.collaborationFwk.infoCollection.setting";
const Metadata CONFIG{"collaborationFwk.infoCollection.configFile", "", "$profile:facts"};

// A member of "dynamic_info" elements.
std::string Item(const std::string& name, const std::string& code = R"("1f")") {
    return "\"" + name + R"(":{"serviceExtensionAbilityName":"Facts","commandCode":)" + code +
        R"(,"variable":"var","dataShareUri":"datashare:///com.app/facts"})";
}

std::string Profile(const std::string& dynamicElements, const std::string& staticInfo = "{}") {
    return R"({"static_info":)" + staticInfo + R"(,"dynamic_info":[)" + dynamicElements + "]}";
}

class AppCatalogue : public Testing::LibraryTest {
protected:
    // Name and declaring bundle of all dynamic items.
    std::string Items() {
        std::string items;
        for (const auto& [name, record] : apps.GetDynamicMap()) {
            EXPECT_EQ(name, record.infoName);
            items += name + "@" + record.bundleName + " ";
        }
        return items;
    }
    std::string Statics() {
        std::string pairs;
        for (const auto& [key, value] : apps.GetStaticMap()) {
            pairs += key + "=" + value + " ";
        }
        return pairs;
    }

    AppInfoCollection& apps = *AppInfoCollection::GetInstance();
};

TEST_F(AppCatalogue, ScansAbilitiesAndExtensionsOnceForTheAction) {
    apps.Init();
    const std::string got = "I Collection: GetBundleMgrProxy success";
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: start load local abilities", "GetSystemAbility(401)", got,
            "QueryAbilityInfosV9(" + ACTION + ", 4, 100)",
            "I Collection: ability query action: " + ACTION + ", ret: 0, size: 0",
            "I Collection: end load local abilities, size: 0", "I Collection: start load extensionAbilities",
            "GetSystemAbility(401)", got, "QueryExtensionAbilityInfosV9(" + ACTION + ", 4, 100)",
            "I Collection: extAbility query action: " + ACTION + ", ret: 0, size: 0",
            "I Collection: end load extensionAbilities, size: 0", "I Collection: no app integrated found"));
    EXPECT_FALSE(apps.HasAppIntegrated());

    device.journal.Clear();
    apps.Init();
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: init already finished", "I Collection: no app integrated found"));
}

TEST_F(AppCatalogue, ReadsTheProfileOfEachMatchingMetadataEntry) {
    device.apps.extensions = {{"Page", "com.app", {{"other", "", ""}, CONFIG}}};
    device.apps.resources["com.app"] = {Profile("{" + Item("cpu") + "}", R"({"model":"x","n":1})")};
    apps.Init();
    const std::vector<std::string> lines = device.journal.Lines();
    const auto begin = std::find(lines.begin(), lines.end(), "I Collection: start load extensionAbilities") + 3;
    Json::Value styled;
    styled["static_info"]["model"] = "x";
    styled["static_info"]["n"] = 1;
    Json::Value& item = styled["dynamic_info"][0]["cpu"];
    item["serviceExtensionAbilityName"] = "Facts";
    item["commandCode"] = "1f";
    item["variable"] = "var";
    item["dataShareUri"] = "datashare:///com.app/facts";
    EXPECT_THAT(std::vector(begin, lines.end()),
        ElementsAre("I Collection: ability: Page,bundleName: com.app, metadatasize: 2",
            "I Collection: ability metadata other", "I Collection: ability metadata " + CONFIG.name,
            "I Collection: getProfile success", "I Collection: staticInfoObj key:model val:x",
            "I Collection: key:cpu-[com.app, Facts, 1f, var, dat**cts", "I Collection: dynamicInfoObj done for key:cpu",
            "I Collection: json parsed" + styled.toStyledString(),
            "I Collection: end load extensionAbilities, size: 1"));
    EXPECT_TRUE(apps.HasAppIntegrated());
    EXPECT_EQ(Statics(), "model=x ");
    const DynamicInfoMapByPak record = apps.GetDynamicMap()["cpu"];
    EXPECT_THAT((std::vector{record.bundleName, record.serviceExtensionAbilityName, record.commandCode, record.variable,
                    record.dataShareUri}),
        ElementsAre("com.app", "Facts", "1f", "var", "datashare:///com.app/facts"));
}

TEST_F(AppCatalogue, LeavesANameToTheAppThatWasFoundFirstAndGathersTextsOverAScan) {
    device.apps.abilities = {{"Page", "com.first", {CONFIG}}, {"Page", "com.none", {CONFIG}}};
    device.apps.extensions = {{"Facts", "com.second", {CONFIG}}, {"Facts", "com.third", {CONFIG}}};
    device.apps.resources["com.first"] = {Profile("{" + Item("a") + "}", R"({"s":"first"})")};
    device.apps.resources["com.second"] = {Profile("{" + Item("a") + "," + Item("b") + "}", R"({"s":"second"})")};
    device.apps.resources["com.third"] = {Profile("{" + Item("c") + "}")};
    apps.Init();
    EXPECT_EQ(Items(), "a@com.first b@com.second c@com.third ");
    EXPECT_EQ(Statics(), "s=first ");
    EXPECT_EQ(device.journal.Count("E Collection: getProfile fail"), 1U);
    // The second's text is parsed again with the third's; those of the other scan are not.
    EXPECT_EQ(device.journal.Count("I Collection: staticInfoObj key:s val:second"), 2U);
    EXPECT_EQ(device.journal.Count("I Collection: staticInfoObj key:s val:first"), 1U);
}

TEST_F(AppCatalogue, CountsMetadataEntriesThatDifferInAnyField) {
    const Metadata otherResource{CONFIG.name, "", "$profile:more"};
    const Metadata otherValue{CONFIG.name, "v", CONFIG.resource};
    device.apps.abilities = {{"Page", "com.app", {CONFIG, otherResource}}};
    device.apps.extensions = {{"Facts", "com.app", {CONFIG, otherValue, otherResource}}};
    apps.Init();
    EXPECT_TRUE(device.journal.Has("I Collection: end load local abilities, size: 2"));
    EXPECT_TRUE(device.journal.Has("I Collection: end load extensionAbilities, size: 3"));

    const std::vector<AppInfoMeta> ascending{{"a", "z", "z", "z"}, {"a", "z", "z", "z\x01"}, {"a", "z", "z", "\xff"},
        {"a", "z", "za", "a"}, {"a", "za", "a", "a"}, {"aa", "a", "a", "a"}};
    for (size_t i = 0; i < ascending.size(); ++i) {
        for (size_t j = 0; j < ascending.size(); ++j) {
            EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << ", " << j;
        }
    }
}

TEST_F(AppCatalogue, GoesOnWithTheOtherScanWhenOneFails) {
    device.apps.extensions = {{"Facts", "com.app", {CONFIG}}};
    device.apps.resources["com.app"] = {Profile("{" + Item("a") + "}")};
    device.apps.abilityQueryResult = 8;
    apps.Init();
    EXPECT_TRUE(device.journal.Has("I Collection: ability query action: " + ACTION + ", ret: 8, size: 0"));
    EXPECT_TRUE(device.journal.Has("E Collection: QueryAbilityInfosV9 Error"));
    EXPECT_TRUE(device.journal.Has("I Collection: LoadLocalAbilities empty"));
    EXPECT_FALSE(device.journal.Has("I Collection: LoadExtensionAbilities empty"));
    EXPECT_EQ(Items(), "a@com.app ");
}

TEST_F(AppCatalogue, IsFinishedEvenWhenNoScanCouldBeMade) {
    device.systemAbilities.hasManager = false;
    const auto expectBothFail = [this](const std::string& reason) {
        const std::string noProxy = "E Collection: failed to get bms proxy";
        EXPECT_THAT(device.journal.Lines(),
            ElementsAre("I Collection: start load local abilities", reason, noProxy,
                "I Collection: LoadLocalAbilities empty", "I Collection: start load extensionAbilities", reason,
                noProxy, "I Collection: LoadExtensionAbilities empty", "I Collection: no app integrated found"));
    };
    apps.Init();
    expectBothFail("E Collection: failed to get system manager");
    apps.Init();
    EXPECT_TRUE(device.journal.Has("I Collection: init already finished"));

    device.systemAbilities.hasManager = true;
    device.systemAbilities.running[401] = device.MakeRemote("no bundle manager", nullptr);
    EXPECT_FALSE(apps.LoadLocalAbilities());
    EXPECT_TRUE(device.journal.Has("E Collection: failed to iface cast bms object"));
    device.systemAbilities.running.clear();
    EXPECT_FALSE(apps.LoadExtensionAbilities());
    EXPECT_TRUE(device.journal.Has("E Collection: failed to get BUNDLE_MGR_SERVICE_SYS_ABILITY_ID"));
}

TEST_F(AppCatalogue, TakesOfAProfileWhatIsWellFormed) {
    struct Row {
        std::string text;
        bool isRejected;
        std::string statics;  // gathered so far
        std::string items;
        std::string lastLine;
    };
    const std::string noJson = "E Collection: StringToJson failed";
    const std::string noStatic = "E Collection: staticInfoObj format not correct";
    const std::string noDynamic = "E Collection: dynamicInfoObjArray format not correct";
    const std::string done = "I Collection: dynamicInfoObj done for key:";
    std::string many = "5";
    for (int i = 1; i < 1024; ++i) {
        many += ",{}";
    }
    const std::vector<Row> rows{
        {"", true, "", "", noJson},
        {"[]", true, "", "", noJson},
        {std::string(100000, '['), true, "", "", noJson},
        {R"({"dynamic_info":[{)" + Item("a") + "}]}", true, "", "", noStatic},
        {R"({"static_info":["s"],"dynamic_info":[]})", true, "", "", noStatic},
        {R"({"static_info":{"s":"1","n":2},"dynamic_info":{}})", true, "s=1 ", "", noDynamic},
        {R"({"static_info":{"t":"1"}})", true, "s=1 t=1 ", "", noDynamic},
        {Profile(""), false, "s=1 t=1 ", "", noDynamic},  // silently
        {Profile("5"), false, "s=1 t=1 ", "", "I Collection: dynamicInfoObj config wrong format"},
        {Profile(R"({"a":"text"})"), false, "s=1 t=1 ", "",
            "I Collection: dynamicInfoObj key-value config wrong format"},
        {Profile("{" + Item("a", "31") + R"(,"b":{}})"), false, "s=1 t=1 ", "",
            "I Collection: dynamicInfoObj key-value config wrong format"},  // silently
        {Profile("{" + Item("a") + R"(,"b":5,)" + Item("c") + "}"), false, "s=1 t=1 ", "a@com.app c@com.app ",
            done + "c"},
        {Profile(many + ",{" + Item("late") + "}"), false, "s=1 t=1 ", "a@com.app c@com.app ",
            "I Collection: dynamicInfoObj config wrong format"},
        {Profile(many.substr(0, many.size() - 2) + "{" + Item("last") + "}"), false, "s=1 t=1 ",
            "a@com.app c@com.app last@com.app ", done + "last"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 100));
        EXPECT_EQ(apps.ParseStrToJson(row.text, "com.app").isNull(), row.isRejected);
        EXPECT_EQ(Statics(), row.statics);
        EXPECT_EQ(Items(), row.items);
        EXPECT_EQ(device.journal.Lines().back(), row.lastLine);
    }
}

TEST_F(AppCatalogue, CollectsCurrentValuesIntoAnObjectOrNullWhenThereIsNone) {
    apps.ParseStrToJson(Profile("{" + Item("a") + "," + Item("b") + "," + Item("") + "}"), "com.app");
    EXPECT_TRUE(apps.GetDeviceDynamicInfos().isNull());
    EXPECT_EQ(device.journal.Lines().back(), "I Collection: profileObjStr result:null\n");

    device.apps.Connect(device.MakeRemote("Facts", [](uint32_t code, MessageParcel& data, MessageParcel& reply) {
        EXPECT_EQ(code, 0x1fU);
        reply.WriteUint32(0);
        reply.WriteString16(data.ReadString16() == u"b" ? u"" : u"value");
        return 0;
    }));
    device.journal.Clear();
    const Json::Value infos = apps.GetDeviceDynamicInfos();
    EXPECT_EQ(infos.toStyledString(), "{\n\t\"a\" : \"value\"\n}\n");
    const std::string asked = "I Collection: GetLocalSingleDynamicInfoByPak ";
    for (const std::string& line :
        {std::string("I Collection: dynamic key:a,info:a,bundle:com.app,Facts,Code:1f,var,dat**cts"),
            asked + "Result, infoName:a, result:value",
            asked + "check empty string, infoName:b, result:", asked + "check empty string, infoName:, result:value"}) {
        EXPECT_EQ(device.journal.Count(line), 1U) << line;
    }
    EXPECT_EQ(device.journal.Lines().back(), "I Collection: profileObjStr result:" + infos.toStyledString());
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
