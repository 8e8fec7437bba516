#include "platform/host/global_variables.h"
#include "plugin/datashare/datashare_manager.h"
#include "plugin/datashare/oobe_status_dependency.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

const std::string URI = "datashare:///com.app/facts";
const std::string MASKED = "dat**cts";
const std::string SETTINGS = GloableVariables::SETTING_URI_PROXY;
const std::vector<std::string> KEYS{"device_provisioned", "user_setup_complete", "is_ota_finished"};

class DataShare : public Testing::LibraryTest {
protected:
    bool Create() { return dataShare.CreateDataShareHelper(URI, 70635); }
    // An app announces a change to a library that observes its URI.
    void Announce(const std::string& data) {
        device.dataShare.Announce(URI, data.data(), static_cast<uint32_t>(data.size()));
    }

    DataShareManager& dataShare = DataShareManager::GetInstance();
    const std::string exists = "I Datashare: helper exist for uri:" + MASKED;
    const std::string notified = "I Datashare: DataShareImp NotifyChangeExt done";
};

TEST_F(DataShare, MakesOneHelperForAUri) {
    EXPECT_TRUE(Create());
    EXPECT_TRUE(Create());
    ExpectAll({"I Datashare: DataShareImp CreateDataShareHelper start", "GetSystemAbility(70635)",
        "Creator(" + URI + ", , 2)",
        "I Datashare: DataShareImp CreateDataShareHelper for datashareUri:" + MASKED + " done",
        "I Datashare: create new helper success for uri:" + MASKED, "I Datashare: helper exists for uri:" + MASKED});
    EXPECT_EQ(device.dataShare.lastToken, device.systemAbilities.running[70635]);
    EXPECT_FALSE(dataShare.CreateDataShareHelper(URI + "/below", 4711));
    ExpectHas("GetSystemAbility(4711)");
}

TEST_F(DataShare, HasNoHelperWhereNoneCanBeMadeAndTriesAgain) {
    const std::string failed = "E Datashare: create helper failed for uri:" + MASKED;
    const auto expectFailure = [&](const std::string& reason) {
        device.journal.Clear();
        EXPECT_FALSE(Create());
        const std::vector<std::string> lines = device.journal.Lines();
        EXPECT_THAT(lines, ElementsAre("I Datashare: DataShareImp CreateDataShareHelper start", reason, failed));
    };
    device.dataShare.codes["Creator"] = 1;
    expectFailure("I Datashare: DataShareImp CreateDataShareHelper for datashareUri:" + MASKED + " done");
    const auto token = device.systemAbilities.running.extract(70635);
    expectFailure("E Datashare: CreateDataShareHelper GetSystemAbility service failed.");
    device.systemAbilities.hasManager = false;
    expectFailure("E Datashare: CreateDataShareHelper GetSystemAbilityManager get samgr failed.");
    EXPECT_FALSE(dataShare.IsHelperExists(URI));

    device.systemAbilities.hasManager = true;
    device.systemAbilities.running[70635] = token.mapped();
    device.dataShare.codes.clear();
    EXPECT_TRUE(Create());
}

TEST_F(DataShare, DoesNothingWithAnUnknownUri) {
    Create();
    device.journal.Clear();
    dataShare.RegisterObserver(URI + "x");
    dataShare.NotifyDPChangedInfo(URI + "x", "data");
    dataShare.InsertDPChangedInfo(URI + "x", "key", "value");
    EXPECT_FALSE(dataShare.IsHelperExists(URI + "x"));
    const std::string unknown = "E Datashare: failed due to no helper record for uri:dat**tsx";
    ExpectAll({unknown, unknown, unknown, unknown});
}

TEST_F(DataShare, InsertsARowAndAnnouncesItAsItIs) {
    Create();
    device.journal.Clear();
    dataShare.InsertDPChangedInfo(URI, "\"key\"", "5");
    dataShare.NotifyDPChangedInfo(URI, "{changed}");
    const std::string done = "I Datashare: DataShareManager ";
    ExpectAll({exists, "Insert(" + URI + ", \"key\"=5)", "I Datashare: DataShareImp Insert done retVal: 1",
        "NotifyChangeExt(0, " + URI + ", {\"key\":5})", notified,
        done + "InsertDPChangedInfo uri:" + MASKED + " success", exists, "NotifyChangeExt(2, " + URI + ", {changed})",
        notified, done + "NotifyDPChangedInfo uri:" + MASKED + " success"});

    device.dataShare.codes["Insert"] = -8;
    dataShare.InsertDPChangedInfo(URI, "bare", std::string("a\0b", 3));
    ExpectHas("I Datashare: DataShareImp Insert done retVal: -8",
        "NotifyChangeExt(0, " + URI + ", {bare:" + std::string("a\0b", 3) + "})");
}

TEST_F(DataShare, PublishesWhatAnAppAnnounces) {
    Create();
    device.journal.Clear();
    dataShare.RegisterObserver(URI);
    ExpectAll({exists, "I Datashare: DataShareImp datashare observer", "RegisterObserverExt(" + URI + ", true)",
        "I Datashare: DataShareImp RegisterObserverExt done",
        "I Datashare: DataShareManager RegisterObserver uri:" + MASKED + " success"});

    device.journal.Clear();
    const std::string unterminated = R"({"a":1}and more)";
    device.dataShare.Announce(URI + "/below", unterminated.data(), 7);
    const std::vector<std::string> lines = device.journal.Lines();
    EXPECT_EQ(std::vector(lines.begin(), lines.begin() + 3),
        (std::vector<std::string>{"I Datashare: DataShareRegisterObserver observer onchange",
            "I Datashare: changeType:2d, num of uris:1, data is nullptr:0, size:7d",
            "I Datashare: Check data change: {\"a\":1}, size:7d"}));
    EXPECT_EQ(lines.back(), "I Datashare: DataShareRegisterObserver write into DP and push to remote devices done");
    ExpectCalls({"PutServiceProfile(LOCAL, infoCollection, infoCollection)",
        "PutCharacteristicProfile(LOCAL, infoCollection, infoCollectionCharacterKey, {\n\t\"a\" : 1\n}\n)"});
    device.journal.Clear();
    dataShare.RegisterObserver(URI);
    Announce("[]");
    ExpectCount("PutCharacteristicProfile(LOCAL, infoCollection, infoCollectionCharacterKey, []\n)", 2);
}

TEST_F(DataShare, PublishesAnyJsonAndNothingElse) {
    Create();
    dataShare.RegisterObserver(URI);
    const std::string done = "I Datashare: DataShareRegisterObserver write into DP and push to remote devices done";
    const std::string failed = "E Collection: DataShareRegisterObserver StringToJson failed";
    for (const auto& [data, line] : std::vector<std::pair<std::string, std::string>>{{"null", done}, {"\"text\"", done},
             {"1e308", done}, {std::string(900, '[') + std::string(900, ']'), done}, {"\"\xff\xfe\"", done},
             {"", failed}, {"{a:1}", failed}, {std::string("\0\xff", 2), failed}, {std::string(100000, '{'), failed},
             {std::string(1000000, 'x'), failed}}) {
        SCOPED_TRACE(data.substr(0, 100));
        Announce(data);
        ExpectLast(line);
    }
    device.profiles.codes["PutServiceProfile"] = 7;
    Announce("{}");
    ExpectLast(done);  // whatever became of it
    device.journal.Clear();
    device.dataShare.extObservers.back().observer->OnChange(
        {DataShareObserver::ChangeType::INSERT, {Uri(URI), Uri(URI)}, nullptr, 9, {}});
    EXPECT_EQ(device.journal.All().back(), "I Datashare: changeType:0d, num of uris:2, data is nullptr:1, size:9d");
}

// A port that calls inline is not allowed, but shows which locks are held.
TEST_F(DataShare, HoldsNoLockWhileItNotifiesOrPublishes) {
    Create();
    dataShare.RegisterObserver(URI);
    device.profiles.during["PutCharacteristicProfile"] = [this] {
        dataShare.CreateDataShareHelper(URI + "/another", 70635);
        dataShare.InsertDPChangedInfo(URI, "key", "value");
    };
    device.dataShare.during["NotifyChangeExt"] = [this] {
        Announce("{}");
    };
    dataShare.NotifyDPChangedInfo(URI, "data");
    EXPECT_TRUE(dataShare.IsHelperExists(URI + "/another"));
    ExpectHas("Insert(" + URI + ", key=value)");
}

TEST_F(DataShare, IsMadeUnderALockButNotObservedOrWrittenToUnderOne) {
    Testing::SecondThread second;
    device.dataShare.during["Creator"] = [&] {
        EXPECT_TRUE(second.Waits([this] { EXPECT_TRUE(dataShare.IsHelperExists(URI)); }));
    };
    EXPECT_TRUE(Create());
    second.Join();
    for (const std::string operation : {"RegisterObserverExt", "Insert", "NotifyChangeExt"}) {
        device.dataShare.during[operation] = [&] {
            EXPECT_TRUE(second.Ends([this] { Create(); })) << operation;
        };
    }
    dataShare.RegisterObserver(URI);
    dataShare.InsertDPChangedInfo(URI, "key", "value");
    EXPECT_TRUE(device.dataShare.during.empty());
}

class SetupCompletion : public Testing::LibraryTest {
protected:
    // The values of the three keys; "-" is none.
    void Set(const std::vector<std::string>& values) {
        device.dataShare.Table(SETTINGS).clear();
        for (size_t i = 0; i < KEYS.size(); ++i) {
            if (values[i] != "-") {
                device.dataShare.SetSetting(SETTINGS, KEYS[i], values[i]);
            }
        }
    }
    bool IsReady() { return OobeStatusDependency::GetInstance().IsOobeReady(); }
    // What is told of each key: its value, "-" where it was not read, and "!" when it is in the way.
    std::vector<std::string> Explain() {
        std::vector<std::string> told;
        for (const SetupFinding& finding : OobeStatusDependency::ExplainSetup()) {
            EXPECT_EQ(finding.setting, KEYS.at(told.size()));
            EXPECT_TRUE(finding.code == 0 || finding.value.empty());
            told.push_back((finding.code == 0 ? finding.value : "-") + (finding.isInTheWay ? "!" : ""));
        }
        return told;
    }
};

TEST_F(SetupCompletion, IsReadOnceItIsCompleteAndThenRemembered) {
    Set({"1", "1", "-"});
    EXPECT_TRUE(IsReady());
    const std::string value = "I DeviceDetect: GetStringValue, setting value is 1 with key is ";
    const auto query = [](const std::string& key) {
        return "Query(" + SETTINGS + ", KEYWORD=" + key + ", VALUE)";
    };
    ExpectAll({"I DeviceDetect: start query oobe status from dataShare",
        "I DeviceDetect: dataShareHelper is null, init", "I DeviceDetect: create DataShareHelper instance",
        "GetSystemAbility(70635)", "Creator(" + SETTINGS + ", , 2)", query(KEYS[0]), "GetRowCount()", "GoToRow(0)",
        "GetString(0)", value + KEYS[0], "Close()", query(KEYS[1]), "GetRowCount()", "GoToRow(0)", "GetString(0)",
        value + KEYS[1], "Close()", query(KEYS[2]), "GetRowCount()",
        "E DeviceDetect: get oobe status, numRows is zero with key is is_ota_finished", "Close()"});
    device.journal.Clear();
    Set({"0", "0", "0"});
    EXPECT_TRUE(IsReady());
    ExpectAll({});
}

TEST_F(SetupCompletion, IsReadByOneWhileTheOthersWaitForTheOutcome) {
    Set({"1", "1", "1"});
    Testing::SecondThread second;
    device.dataShare.during["Query"] = [&] {
        EXPECT_TRUE(second.Waits([this] { EXPECT_TRUE(IsReady()); }));
    };
    EXPECT_TRUE(IsReady());
    second.Join();
    EXPECT_EQ(device.journal.CountCallsOf("Query"), 3U);
}

TEST_F(SetupCompletion, NeedsTwoOnesAndNoZeroAndIsAskedForAgainUntilThen) {
    const std::vector<std::vector<std::string>> notReady{{"-", "-", "-"}, {"1", "1", "0"}, {"1", "-", "1"},
        {"1", "0", "1"}, {"-", "1", "1"}, {"0", "1", "1"}, {"1 ", "1", "1"}, {"1", "true", "1"}};
    for (const std::vector<std::string>& values : notReady) {
        Set(values);
        device.journal.Clear();
        EXPECT_FALSE(IsReady()) << ::testing::PrintToString(values);
        EXPECT_EQ(device.journal.CountCallsOf("Query"), 3U);
    }
    Set({"1", "1", "no"});
    EXPECT_TRUE(IsReady());
    EXPECT_EQ(device.journal.CountCallsOf("Creator"), 0U);
}

TEST_F(SetupCompletion, IsExplainedByWhatEachKeySaysNow) {
    Set({"1", "true", "0"});
    EXPECT_THAT(Explain(), ElementsAre("1", "true!", "0!"));
    Set({"0", "1", "1"});
    EXPECT_THAT(Explain(), ElementsAre("0!", "1", "1"));
    Set({"-", "", "-"});
    EXPECT_THAT(Explain(), ElementsAre("-!", "!", "-"));
    Set({"1", "1", "0"});
    for (const std::string& key : KEYS) {
        device.dataShare.codes["QueryStringValue(" + SETTINGS + ", " + key + ")"] = 1;
    }
    EXPECT_THAT(Explain(), ElementsAre("-!", "-!", "-"));
}

TEST_F(SetupCompletion, ClosesEachResultSetOnceWhateverFails) {
    Set({"1", "1", "1"});
    const std::string noRow = "E DeviceDetect: get oobe status, numRows is zero with key is ";
    const std::string noText = "E DeviceDetect: get oobe status, resultSet->GetString not ok with key is ";
    for (const auto& [operation, line] : std::vector<std::pair<std::string, std::string>>{
             {"Query", noRow}, {"GetRowCount", noRow}, {"GoToRow", noText}, {"GetString", noText}}) {
        device.journal.Clear();
        device.dataShare.codes = {{operation, 1}};
        EXPECT_FALSE(IsReady());
        for (const std::string& key : KEYS) {
            EXPECT_EQ(device.journal.Count(line + key), 1U) << operation;
        }
        EXPECT_EQ(device.journal.CountCallsOf("Close"), operation == "Query" ? 0U : 3U) << operation;
        EXPECT_EQ(device.journal.CountCallsOf("Creator"), operation == "Query" ? 1U : 0U) << operation;
    }
}

TEST_F(SetupCompletion, IsNotToldWithoutTheSettings) {
    Set({"1", "1", "1"});
    const auto expectFailure = [this](const std::string& reason) {
        device.journal.Clear();
        EXPECT_FALSE(IsReady());
        std::vector<std::string> expected{"I DeviceDetect: start query oobe status from dataShare"};
        for (const std::string& key : KEYS) {
            expected.insert(expected.end(),
                {"I DeviceDetect: dataShareHelper is null, init", "I DeviceDetect: create DataShareHelper instance"});
            if (!reason.empty()) {
                expected.push_back(reason);
            }
            expected.push_back("E DeviceDetect: dataShareHelper is null, key is " + key);
        }
        ExpectLines(expected);
    };
    device.dataShare.codes["Creator"] = 1;
    expectFailure("");
    const auto token = device.systemAbilities.running.extract(70635);
    expectFailure("E DeviceDetect: CreateDataShareHelper GetSystemAbility return nullptr,             "
                  "systemAbilityId = 70635");
    device.systemAbilities.hasManager = false;
    expectFailure("E DeviceDetect: CreateDataShareHelper, GetSystemAbilityManager return nullptr");
    device.systemAbilities.hasManager = true;
    device.systemAbilities.running[70635] = token.mapped();
    device.dataShare.codes.clear();
    EXPECT_TRUE(IsReady());
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
