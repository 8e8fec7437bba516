#include "linux/apps/bundle_manager.h"
#include "linux/services/system_ability_table.h"
#include "platform/bundle/bundle_mgr_client.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

using ::testing::ThrowsMessage;

constexpr char ACTION[] = "an.action";
constexpr int32_t OTHER_USER = 101;

class InstalledApps : public DeviceTest {
protected:
    void Write(const fs::path& file, const std::string& text) const { PortTest::Write(directory / file, text); }
    void Install(const std::string& name, const std::string& more = "", const std::string& resource = "$profile:info") {
        Write(name + "/manifest.json",
            R"({"bundleName": ")" + name + "\"" + more + R"(, "extensions": [{"name": "Facts", "exec": ["bin/facts"],
                "actions": [")" +
                ACTION + R"("], "metadata": [{"name": "config", "resource": ")" + resource + "\"}]}]}");
    }
    std::vector<ExtensionAbilityInfo> Query(int32_t userId = DEVICE_USER) const {
        device.bundles->LoadDirectory(directory);
        std::vector<ExtensionAbilityInfo> infos;
        Want want;
        want.SetAction(ACTION);
        EXPECT_EQ(device.bundles->QueryExtensionAbilityInfosV9(want, IBundleMgr::GET_WITH_METADATA, userId, infos), 0);
        return infos;
    }
    void ExpectRefused(const std::string& app, const std::string& reason) const {
        EXPECT_THAT([&] { ReadManifest(directory / app); }, ThrowsMessage<std::runtime_error>(HasSubstr(reason)));
    }
    std::vector<std::string> QueriedBundles(int32_t userId = DEVICE_USER) const {
        std::vector<std::string> names;
        for (const ExtensionAbilityInfo& info : Query(userId)) {
            names.push_back(info.bundleName);
        }
        return names;
    }
};

TEST_F(InstalledApps, AreFoundByActionInTheOrderOfNamesForTheirUserWhileEnabled) {
    Install("c.app");
    Install("a.app");
    Install("b.disabled", R"(, "enabled": false)");
    Install("d.other", R"(, "user": 101)");
    EXPECT_THAT(QueriedBundles(), ElementsAre("a.app", "c.app"));
    EXPECT_THAT(QueriedBundles(OTHER_USER), ElementsAre("d.other"));
    ApplicationInfo info;
    EXPECT_EQ(device.bundles->GetApplicationInfo("b.disabled", 0, DEVICE_USER, info), 0);
    EXPECT_FALSE(info.enabled);
    EXPECT_NE(device.bundles->GetApplicationInfo("no.such", 0, DEVICE_USER, info), 0);
}

TEST_F(InstalledApps, DoNotSufferFromMalformedOnes) {
    Install("good.app");
    Write("1/manifest.json", "not json");
    Write("2/manifest.json", std::string(100000, '['));
    Write("3/manifest.json", "[]");
    Write("4/manifest.json", R"({"bundleName": 7})");
    Write("5/manifest.json", R"({"bundleName": "x", "extensions": [{"name": ["y"]}]})");
    Write("6/manifest.json", R"({"bundleName": "good.app", "extensions": {}})");
    fs::create_directories(directory / "7" / "manifest.json");
    fs::create_directories(directory / "8");
    for (const char* extension : {R"("name": "Y", "exec": ["y", "line\n\u0007"])",
             R"("name": "Y", "exec": ["y\u007f"])", R"("name": "Y", "exec": ["y\u0000"])"}) {
        Write("9/manifest.json", R"({"bundleName": "x", "extensions": [{)" + std::string(extension) + "}]}");
        ExpectRefused("9", "control characters");
    }
    // Long enough for a bus name, too long for the file that tells the bus of it.
    Write("10/manifest.json",
        R"({"bundleName": "x", "extensions": [{"exec": ["y"], "name": ")" + std::string(230, 'n') + "\"}]}");
    ExpectRefused("10", "of a file");
    EXPECT_THAT(QueriedBundles(), ElementsAre("good.app"));
}

TEST_F(InstalledApps, DeclareSharedDataThatIsTheirOwn) {
    Install("good.app", R"(, "dataShares": ["datashare:///good.app", "datashare:///good.more/a"])");
    const std::string wrong[] = {R"("datashare:///x")", "[7]", R"(["x"])", R"(["datashare:///"])",
        R"(["datashare:///x?y"])", R"(["datashare:///x/"])", R"(["datashare:///com.zyne.settingsdata"])",
        R"(["datashare:///com.zyne.settingsdata/entry"])"};
    for (const std::string& shares : wrong) {
        Write("wrong/manifest.json", R"({"bundleName": "wrong", "dataShares": )" + shares + "}");
        ExpectRefused("wrong", "dataShares");
    }
    EXPECT_THAT(
        BundleCatalogue(directory).GetDataShares(), ElementsAre("datashare:///good.app", "datashare:///good.more/a"));
}

TEST_F(InstalledApps, DeclareTheirChannels) {
    Install("good.app", R"(, "channels": ["one", "two"])");
    EXPECT_THAT(ReadManifest(directory / "good.app").channels, ElementsAre("one", "two"));
    for (const std::string& channels : {std::string(R"("one")"), std::string("[7]"), std::string(R"([""])"),
             std::string(R"(["a\u0007"])"), "[\"" + std::string(129, 'n') + "\"]"}) {
        Write("wrong/manifest.json", R"({"bundleName": "wrong", "channels": )" + channels + "}");
        ExpectRefused("wrong", "channels");
    }
}

TEST_F(InstalledApps, GiveTheirProfilesAndNothingFromOutsideTheirFolder) {
    Install("a.app");
    Write("a.app/resources/profile/info.json", "the profile");
    Install("b.escapes", "", "$profile:../../../a.app/resources/profile/info");
    std::vector<std::string> profiles{"earlier"};
    const auto infos = Query();
    EXPECT_TRUE(BundleMgrClient().GetResConfigFile(infos[0], "config", profiles));
    EXPECT_THAT(profiles, ElementsAre("earlier", "the profile"));
    EXPECT_FALSE(BundleMgrClient().GetResConfigFile(infos[0], "other", profiles));
    EXPECT_FALSE(BundleMgrClient().GetResConfigFile(infos[1], "config", profiles));
    EXPECT_EQ(profiles.size(), 2u);
}

TEST_F(InstalledApps, HaveServicesWhoseTableNamesItsFaults) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"abilities": [{"id": "1", "busName": "a.b"}]})", "id"},
        {R"({"abilities": [{"id": 1, "busName": "no name"}]})", "busName"},
        {R"({"abilities": [{"id": 1, "busName": "a.b"}, {"id": 1, "busName": "a.c"}]})", "entry 2"},
        {R"({"abilities": [{"id": 1, "busName": "a.b", "path": "no path"}]})", "path"},
        {R"({"abilities": [{"id": 1, "busName": "a.b", "exec": ["x", "a\nb"]}]})", "control characters"},
        {"{", "table.json"},
    };
    for (const auto& [text, part] : cases) {
        Write("table.json", text);
        EXPECT_THAT([&] { ReadSystemAbilityTable(directory / "table.json"); },
            ThrowsMessage<std::runtime_error>(HasSubstr(part)));
    }
    Write("table.json", R"({"abilities": [{"id": 1, "busName": "a.b", "exec": ["bin/service", "x"]}]})");
    EXPECT_THAT(ReadSystemAbilityTable(directory / "table.json").at(1).service.command,
        ElementsAre((directory / "bin/service").string(), "x"));
}

}  // namespace
}  // namespace ZYNE::Linux
