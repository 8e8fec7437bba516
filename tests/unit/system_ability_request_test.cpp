#include "plugin/info_collection/load_sa_callback.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/scarce_memory.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr int32_t FACTS = 70801;
constexpr int32_t OTHER = 70802;
constexpr int32_t DYING = 70803;

class SystemAbilityRequest : public Testing::LibraryTest {
protected:
    sptr<Testing::FakeRemote> Service(const std::string& reply, int32_t result = 0) {
        return device.MakeRemote("service", [=, this](uint32_t, MessageParcel& data, MessageParcel& out) {
            std::vector<std::string> names;
            EXPECT_EQ(data.ReadInterfaceToken(), u"sample.IFacts");
            EXPECT_TRUE(data.ReadStringVector(names));
            EXPECT_EQ(data.GetReadableBytes(), 0U);
            asked.insert(asked.end(), names.begin(), names.end());
            out.WriteString(reply);
            return result;
        });
    }
    std::string Ask(const std::string& name, int32_t saId = FACTS) {
        return manager.RequestSingleSaOnConfigInfo({name, saId, -1, u"sample.IFacts"});
    }

    RequestSAManager& manager = *RequestSAManager::GetInstance();
    std::vector<std::string> asked;
};

TEST_F(SystemAbilityRequest, LoadsAServiceThatDoesNotRunOnceForEachDifferentRequest) {
    const std::string check = "CheckSystemAbility(70801)";
    const std::string isNull = "E Collection: CheckSystemAbility is nullptr";
    const std::string ends = "I Collection: RequestSaOnConfigInfo CheckSystemAbility nullptr";
    EXPECT_EQ(Ask("hostname"), "");
    EXPECT_EQ(Ask("hostname"), "");
    ExpectAll({check, "LoadSystemAbility(70801)", "I Collection: LoadSystemAbility ret:0",
        "E Collection: CheckSystemAbility LoadSystemAbility 1", isNull, ends, check, isNull, ends});

    manager.RequestSingleSaOnConfigInfo({"hostname", FACTS, 2, u"sample.IFacts"});
    manager.RequestSingleSaOnConfigInfo({"hostname", FACTS, -1, u"other"});
    Ask("hostname", OTHER);
    Ask("kernel");
    EXPECT_EQ(manager.GetReqTasks().size(), 5U);
    device.systemAbilities.FailLoad(FACTS);
    ExpectLast("E Collection: OnLoadSystemAbilityFail load SA failed");
    Ask("hostname");  // not even after the load has failed
    ExpectCount("LoadSystemAbility(70801)", 4);
}

TEST_F(SystemAbilityRequest, IsRepeatedInOrderAtEverySuccessfulLoadOfItsService) {
    Ask("kernel");
    Ask("battery", OTHER);
    Ask("hostname");
    device.systemAbilities.running[OTHER] = Service("of no interest");
    device.systemAbilities.FinishLoad(FACTS, nullptr);
    ExpectLast("E Collection: OnLoadSystemAbilitySuccess remoteObject is nullptr");
    device.journal.Clear();
    device.systemAbilities.FinishLoad(FACTS, Service("any text"));
    EXPECT_THAT(asked, ElementsAre("kernel", "hostname"));
    std::vector<std::string> all = device.journal.All();
    all.resize(6);
    EXPECT_THAT(all,
        ElementsAre("I Collection: load SA success, systemAbilityId:70801, remoteObject result:true",
            "CheckSystemAbility(70801)", "I Collection: RequestSaOnConfigInfo CheckSystemAbility pass",
            "SendRequest(service, 4294967295, 0, 8)", "I Collection: RequestSaOnConfigInfo ReadString result any text",
            "I Collection: OnLoadSaSuccess for sa:70801 result:0, resultJsonany text"));

    device.systemAbilities.running.clear();
    Ask("uptime");
    device.systemAbilities.FinishLoad(FACTS, Service("{}"));
    EXPECT_THAT(asked, ElementsAre("kernel", "hostname", "kernel", "hostname", "uptime"));
}

TEST_F(SystemAbilityRequest, IsRememberedWhenItsLoadIsRefusedButNotWithoutAManager) {
    device.systemAbilities.hasManager = false;
    EXPECT_EQ(Ask("hostname"), "");
    ExpectHas("E Collection: CheckSystemAbility samgr is nullptr");
    EXPECT_TRUE(manager.GetReqTasks().empty());

    device.systemAbilities.hasManager = true;
    device.systemAbilities.codes["LoadSystemAbility"] = 4;
    device.journal.Clear();
    EXPECT_EQ(Ask("hostname"), "");
    ExpectLines({"I Collection: LoadSystemAbility ret:4", "E Collection: LoadSystemAbility failed",
        "E Collection: CheckSystemAbility LoadSystemAbility 0", "E Collection: CheckSystemAbility is nullptr",
        "I Collection: RequestSaOnConfigInfo CheckSystemAbility nullptr"});
    EXPECT_EQ(Ask("hostname"), "");
    EXPECT_EQ(manager.GetReqTasks().size(), 1U);
    EXPECT_EQ(device.journal.CountCallsOf("LoadSystemAbility"), 1U);

    const std::string loaded = "E Collection: CheckSystemAbility LoadSystemAbility ";
    device.systemAbilities.during["CheckSystemAbility"] = [this] {
        device.systemAbilities.hasManager = false;
    };
    Ask("kernel");
    EXPECT_THAT(device.journal.LinesOf("LoadSystemAbility").back(),
        "E Collection: SystemAbilityManagerClient GetSystemAbilityManager null");
    EXPECT_EQ(device.journal.LinesOf("CheckSystemAbility").end()[-2], loaded + "0");
    device.systemAbilities.hasManager = true;
    const Testing::ScarceMemory scarce(sizeof(LoadSACallback));
    Ask("uptime");
    EXPECT_EQ(device.journal.LinesOf("LoadSystemAbility").back(), "E Collection: loadCallback is nullptr.");
    EXPECT_EQ(device.journal.LinesOf("CheckSystemAbility").end()[-2], loaded + "1");
}

TEST_F(SystemAbilityRequest, LooksForItsServiceWithoutALockAndHasOneLoadedAfterTheOther) {
    Testing::SecondThread other;
    const auto read = [this] {
        manager.GetReqTasks();
    };
    device.systemAbilities.during["CheckSystemAbility"] = [&] {
        EXPECT_TRUE(other.Ends(read));
    };
    device.systemAbilities.during["LoadSystemAbility"] = [&] {
        EXPECT_TRUE(other.Waits(read));
    };
    Ask("hostname");
    other.Join();
}

TEST_F(SystemAbilityRequest, TakesABooleanOrATextOutOfTheReply) {
    const std::string value = "I Collection: RequestSaOnConfigInfo resultJson get value  ";
    const std::string noJson = "E Collection: RequestSingleSaOnConfigInfo StringToJson failed";
    const std::string read = "I Collection: RequestSaOnConfigInfo ReadString result ";
    struct Row {
        std::string reply;
        std::string result;
        std::string lastLine;
    };
    const std::vector<Row> rows{{R"({"x":{"value":"x"},"k":{"value":"desk","more":1}})", "desk", value + "desk"},
        {R"({"k":{"value":true}})", "true", value + "true"}, {R"({"k":{"value":false}})", "false", value + "false"},
        {R"({"k":{"value":5}})", "", value}, {R"({"k":{"value":["x"]}})", "", value}, {R"({"k":{}})", "", value},
        {R"({"k":"desk"})", "", read}, {R"({"x":{"value":"x"}})", "", read}, {R"(["k"])", "", noJson},
        {"desk", "", noJson}, {"", "", noJson}, {std::string(100000, '['), "", noJson}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reply.substr(0, 100));
        device.systemAbilities.running[FACTS] = Service(row.reply);
        EXPECT_EQ(Ask("k"), row.result);
        ExpectLast(row.lastLine == read ? read + row.reply : row.lastLine);
    }
}

TEST_F(SystemAbilityRequest, EndsWithACodeForEachStepThatFailsAndLeavesTheResultAlone) {
    device.systemAbilities.running[FACTS] = Service("answer", -7);
    struct Row {
        SaReqTask task;
        int32_t code;
        std::string lastLine;
    };
    device.systemAbilities.running[DYING] = device.MakeRemote("dying", [](auto&&, auto&&, MessageParcel& reply) {
        reply.WriteString("half an answer");
        return static_cast<int32_t>(IRemoteObject::DEAD);  // it goes while it is asked
    });
    const std::vector<Row> rows{
        {{OTHER, 1, u"sample.IFacts", {}}, 1009, "I Collection: RequestSaOnConfigInfo CheckSystemAbility nullptr"},
        {{FACTS, 1, std::u16string(Parcel::MAX_SIZE / 2, u'x'), {}}, 1006,
            "E Collection: RequestSaOnConfigInfo WriteInterfaceToken failed"},
        {{FACTS, 1, u"sample.IFacts", {std::string(Parcel::MAX_SIZE, 'x')}}, 1007,
            "E Collection: WriteStrongParcelable failed"},
        {{FACTS, 1, u"sample.IFacts", {"k"}}, 1008, "E Collection: failed to SendRequest, error: -7"},
        {{DYING, 1, u"sample.IFacts", {"k"}}, 1008, "E Collection: failed to SendRequest, error: 1"}};
    for (Row row : rows) {
        std::string result = "kept";
        EXPECT_EQ(manager.RequestSaOnConfigInfo(row.task, result), row.code);
        ExpectLast(row.lastLine);
        EXPECT_EQ(result, "kept");
    }
    EXPECT_EQ(Ask("k"), "");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
