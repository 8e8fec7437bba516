// One device asks itself: a whole exchange, from the question to the records.
#include "plugin/info_collection/info_collection_service.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace std::chrono_literals;

class Exchange : public Testing::LibraryTest {
protected:
    Exchange() {
        RequestSAManager::GetInstance()->SetDynamicMapBySa(5, 7, u"I", {"host", "switch"});
        device.systemAbilities.running[5] = device.MakeRemote("service", [](auto&&, auto&&, MessageParcel& reply) {
            reply.WriteString(R"({"host":{"value":"desk\u0000ä"},"switch":{"value":true}})");
            return 0;
        });
        device.host.onRequest = [this](const ServiceInfo& sent) {
            const auto commands = device.host.plugin->CreateCommand(sent.commandProp);
            ASSERT_EQ(commands.size(), 1U);
            EXPECT_TRUE(commands[0]->AuthenticationCheck("me"));
            EXPECT_EQ(commands[0]->Execute(9), 0);
            EXPECT_EQ(commands[0]->Release(1), 0);
            device.pool.RunAll();
        };
        device.host.onTransmit = [this](const std::string& message) {
            const std::string& id = device.host.lastService->collaborationIdStr;
            device.host.listeners.back()->OnDataReceived(
                id, std::make_shared<CollaborationFwkProtocol>(message + std::string("\0}", 2)), 0);
        };
        device.journal.Clear();
    }
    int32_t Ask(const std::vector<std::string>& names) {
        DeviceInfo peer("udid", "network-1", "desk", DeviceType::PC);
        return InfoCollectionService::GetInstance().GetRemoteDeviceDynamicInfo(peer, "me", names, records);
    }

    std::vector<DeviceDynamicInfo> records;
};

TEST_F(Exchange, TellsEachStepInOrderFromTheQuestionToTheRecord) {
    EXPECT_EQ(Ask({"host"}), 0);
    ASSERT_EQ(records.size(), 1U);
    for (const std::string& s : device.journal.Named()) std::cout << "@@" << s << "@@\n";
}

TEST_F(Exchange, TellsTheValueOfEachNameAndOfOneThatNobodyKnowsNothing) {
    EXPECT_EQ(Ask({"switch", "none", "host"}), 0);
    std::map<std::string, std::string> values;
    for (const DeviceDynamicInfo& record : records) {
        values[record.GetKey()] = record.GetValue();
    }
    EXPECT_EQ(values,
        (std::map<std::string, std::string>{
            {"host", std::string("desk\0ä", 7)}, {"none", ""}, {"switch", "true"}}));
    EXPECT_EQ(device.host.lastMessage,
        "{\n\t\"host\" : \"desk\\u0000\\u00e4\",\n\t\"none\" : \"\",\n\t\"switch\" : \"true\"\n}\n");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
