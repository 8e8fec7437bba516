#include "plugin/info_collection/info_collection_command.h"

#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

class AnsweringARequest : public Testing::LibraryTest {
protected:
    static std::shared_ptr<Command> Make(const std::vector<std::string>& names) {
        return std::make_shared<InfoCollectionCommand>(names);
    }
};

TEST_F(AnsweringARequest, CollectsOnThePoolAndSendsOneMemberPerName) {
    const auto command = Make({"b", "a", "b"});
    EXPECT_TRUE(command->AuthenticationCheck("anyone"));
    EXPECT_EQ(command->Execute(7), 0);
    EXPECT_EQ(command->Release(0), 0);
    device.pool.RunAll();
    const std::string text = "{\n\t\"a\" : \"\",\n\t\"b\" : \"\"\n}\n";
    EXPECT_EQ(device.host.lastMessage, text);
    EXPECT_THAT(device.journal.Calls(), ElementsAre("AddAsynTask(2)", "TransmitMsg(7, 3, false)"));
    EXPECT_THAT(device.journal.Lines(),
        IsSupersetOf<std::string>(
            {"I Collection: executeInfoCollect, infoName:a", "I Collection: InfoCollectionCommand Release",
                "I Collection: GetLocalDeviceDynamicInfo begin, collaborationSessionId:7",
                "I Collection: GetLocalDeviceDynamicInfo end, collaborationSessionId:7",
                "I Collection: ResponseInfoCollecRes begin", "I Collection: ResponseInfoCollecRes desData:" + text}));
    EXPECT_EQ(device.journal.Lines().back(), "I Collection: GetInfoAndResponse success");
}

TEST_F(AnsweringARequest, LogsWhatFailsOnThePoolAndTriesNothingAgain) {
    const auto askedForNothing = Make({});
    EXPECT_EQ(askedForNothing->Execute(7), 0);
    device.pool.RunAll();
    EXPECT_THAT(device.journal.Calls(), ElementsAre("AddAsynTask(2)"));
    EXPECT_TRUE(device.journal.Has("E Collection: infoRes result is empty, collaborationSessionId: 7"));
    EXPECT_EQ(device.journal.Lines().back(),
        "E Collection: GetInfoAndResponse failed, errorCode: 2201,             collaborationSessionId: 7");

    device.host.transmitResult = -5;
    const auto notSent = Make({"a"});
    notSent->Execute(8);
    device.pool.RunAll();
    EXPECT_EQ(device.journal.Count("TransmitMsg(8, 3, false)"), 1U);
    EXPECT_EQ(device.journal.Lines().back(),
        "E Collection: GetInfoAndResponse failed, errorCode: -5,             collaborationSessionId: 8");
}

TEST_F(AnsweringARequest, FailsAtOnceWhenThePoolRefuses) {
    device.pool.refuses = true;
    EXPECT_EQ(Make({})->Execute(7), 2209);
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: executeInfoCollect, collaborationSessionId:7, infoSize:0", "AddAsynTask(2)",
            "I Collection: add async result = 0", "E Collection: AddAsynTask failed, collaborationSessionId: 7"));
}

TEST_F(AnsweringARequest, IsLeftWhenTheHostDropsTheCommandBeforeItsTurn) {
    Make({"a"})->Execute(7);
    device.journal.Clear();
    device.pool.RunAll();
    EXPECT_THAT(device.journal.All(), ElementsAre("E Collection: info is nullptr"));
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
