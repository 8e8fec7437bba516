#include "platform/host/global_variables.h"
#include "plugin/datashare/oobe_status_dependency.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

const std::string URI = GloableVariables::SETTING_URI_PROXY;
const std::vector<std::string> KEYS{"device_provisioned", "user_setup_complete", "is_ota_finished"};

class SetupCompletion : public Testing::LibraryTest {
protected:
    SetupCompletion() { device.systemAbilities.running[70635] = device.MakeRemote("profiles", nullptr); }

    // The values of the three keys; "-" is none.
    void Set(const std::vector<std::string>& values) {
        device.dataShare.Table(URI).clear();
        for (size_t i = 0; i < KEYS.size(); ++i) {
            if (values[i] != "-") {
                device.dataShare.SetSetting(URI, KEYS[i], values[i]);
            }
        }
    }
    bool IsReady() { return OobeStatusDependency::GetInstance().IsOobeReady(); }
};

TEST_F(SetupCompletion, IsReadOnceItIsCompleteAndThenRemembered) {
    Set({"1", "1", "-"});
    EXPECT_TRUE(IsReady());
    const std::string value = "I DeviceDetect: GetStringValue, setting value is 1 with key is ";
    const auto query = [](const std::string& key) {
        return "Query(" + URI + ", KEYWORD=" + key + ", VALUE)";
    };
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I DeviceDetect: start query oobe status from dataShare",
            "I DeviceDetect: dataShareHelper is null, init", "I DeviceDetect: create DataShareHelper instance",
            "GetSystemAbility(70635)", "Creator(" + URI + ", , 2)", query(KEYS[0]), "GetRowCount()", "GoToRow(0)",
            "GetString(0)", value + KEYS[0], "Close()", query(KEYS[1]), "GetRowCount()", "GoToRow(0)", "GetString(0)",
            value + KEYS[1], "Close()", query(KEYS[2]), "GetRowCount()",
            "E DeviceDetect: get oobe status, numRows is zero with key is is_ota_finished", "Close()"));
    device.journal.Clear();
    Set({"0", "0", "0"});
    EXPECT_TRUE(IsReady());
    EXPECT_THAT(device.journal.All(), ElementsAre());
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
        EXPECT_EQ(device.journal.Lines(), expected);
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
