#include "plugin/info_collection/info_collection_command.h"

#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

class AnsweringARequest : public Testing::LibraryTest {
protected:
    AnsweringARequest() {
        RequestSAManager::GetInstance()->SetDynamicMapBySa(5, 7, u"I", {"a"});
        Tell("1");
        device.journal.Clear();
    }
    // A system service tells `value` of the item "a" from now on.
    void Tell(const std::string& value) {
        device.systemAbilities.running[5] = device.MakeService(R"({"a":{"value":")" + value + R"("}})");
    }
    std::vector<std::string> Transmitted() const { return device.journal.CallsOf("TransmitMsg"); }
    static std::shared_ptr<Command> Make(const std::vector<std::string>& names) {
        return std::make_shared<InfoCollectionCommand>(names);
    }
};

TEST_F(AnsweringARequest, SendsOneMemberPerNameWithWhatIsThenAlsoWhenThePoolRunsItBeforeThePostReturns) {
    const auto command = Make({"b", "a", "b"});
    device.pool.runsDuringPost = true;
    for (const auto& [session, told] : std::map<std::string, std::string>{{"7", "1"}, {"8", "two"}}) {
        device.journal.Clear();
        Tell(told);
        EXPECT_EQ(command->Execute(std::stoi(session)), 0);
        ExpectLinesOf("Execute",
            {"I Collection: executeInfoCollect, collaborationSessionId:" + session + ", infoSize:3",
                "I Collection: executeInfoCollect, infoName:b", "I Collection: executeInfoCollect, infoName:a",
                "I Collection: executeInfoCollect, infoName:b", "I Collection: add async result = 1"});
        EXPECT_THAT(Transmitted(), ElementsAre("TransmitMsg(" + session + ", 3, false)"));
        EXPECT_EQ(device.host.lastMessage, "{\n\t\"a\" : \"" + told + "\",\n\t\"b\" : \"\"\n}\n");
    }
}

TEST_F(AnsweringARequest, RunsOneExecutionAfterTheOtherAndLivesUntilTheEndOfItsRun) {
    auto command = Make({"a"});
    command->Execute(7);
    command->Execute(8);
    Testing::SecondThread second;
    device.host.during["TransmitMsg"] = [&] {
        EXPECT_TRUE(second.Waits([this] { device.pool.RunNext(); }));
    };
    device.pool.RunNext();
    second.Join();
    EXPECT_EQ(Transmitted().size(), 2U);

    command->Execute(9);
    device.host.during["TransmitMsg"] = [&, weak = std::weak_ptr(command)] {
        command.reset();
        EXPECT_FALSE(weak.expired());
    };
    device.pool.RunNext();
    EXPECT_FALSE(command);
}

TEST_F(AnsweringARequest, LogsWhatFailsOnThePoolAndTriesNothingAgain) {
    const auto askedForNothing = Make({});
    EXPECT_EQ(askedForNothing->Execute(7), 0);
    device.pool.RunAll();
    ExpectCalls({"AddAsynTask(2)"});
    ExpectHas("E Collection: infoRes result is empty, collaborationSessionId: 7");
    ExpectLast("E Collection: GetInfoAndResponse failed, errorCode: 2201,             collaborationSessionId: 7");

    const auto notSent = Make({"a"});
    for (const int32_t code : {-5, 5}) {
        device.journal.Clear();
        device.host.codes["TransmitMsg"] = code;
        notSent->Execute(8);
        device.pool.RunAll();
        EXPECT_EQ(Transmitted().size(), 1U);
        ExpectLast("E Collection: GetInfoAndResponse failed, errorCode: " + std::to_string(code) +
            ",             collaborationSessionId: 8");
    }
}

TEST_F(AnsweringARequest, FailsAtOnceWhenThePoolRefuses) {
    device.pool.refuses = true;
    EXPECT_EQ(Make({})->Execute(7), 2209);
    ExpectAll({"I Collection: executeInfoCollect, collaborationSessionId:7, infoSize:0", "AddAsynTask(2)",
        "I Collection: add async result = 0", "E Collection: AddAsynTask failed, collaborationSessionId: 7"});
}

TEST_F(AnsweringARequest, IsLeftWhenTheHostDropsTheCommandBeforeItsTurn) {
    Make({"a"})->Execute(7);
    device.journal.Clear();
    device.pool.RunAll();
    ExpectAll({"E Collection: info is nullptr"});
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
