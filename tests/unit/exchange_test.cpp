// One device asks itself: a whole exchange, from the question to the records.
#include "plugin/info_collection/info_collection_service.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

const std::string REPLY = R"({"host":{"value":"desk\u0000ä"},"switch":{"value":true}})";

class Exchange : public Testing::LibraryTest {};

TEST_F(Exchange, TellsEachStepInOrderFromTheQuestionToTheRecord) {
    RequestSAManager::GetInstance()->SetDynamicMapBySa(5, 7, u"I", {"host", "switch"});
    device.systemAbilities.running[5] = device.MakeService(REPLY);
    device.host.onRequest = [this](const ServiceInfo& sent) {
        const auto commands = device.host.plugin->CreateCommand(sent.commandProp);
        ASSERT_EQ(commands.size(), 1U);
        EXPECT_TRUE(commands[0]->AuthenticationCheck("me"));
        EXPECT_EQ(commands[0]->Execute(9), 0);
        EXPECT_EQ(commands[0]->Release(1), 0);
        device.pool.RunAll();
    };
    device.host.during["TransmitMsg"] = [this] {
        const std::string message = device.host.lastMessage + std::string("\0}", 2);
        device.host.listeners.back()->OnDataReceived(
            device.host.lastService->collaborationIdStr, std::make_shared<CollaborationFwkProtocol>(message), 0);
    };
    device.journal.Clear();
    DeviceInfo peer("udid", "network-1", "desk", DeviceType::PC);
    std::vector<DeviceDynamicInfo> records;
    EXPECT_EQ(InfoCollectionService::GetInstance().GetRemoteDeviceDynamicInfo(peer, "me", {"host"}, records), 0);
    ASSERT_EQ(records.size(), 1U);
    const std::string request = "{\n\t\"commandType\" : 1,\n\t\"keyList\" : \n\t[\n\t\t\"host\"\n\t]\n}\n";
    const std::string answer = "{\n\t\"host\" : \"desk\\u0000\\u00e4\"\n}\n";
    const std::string value("desk\0ä", 7);
    EXPECT_EQ(records[0].GetValue(), value);
    const std::string local = "GetLocalDeviceDynamicInfo# I Collection: ";
    const std::string asked = "GetRemoteDeviceDynamicInfo# I Collection: ";
    std::vector<std::string> named;
    for (const auto& entry : device.journal.Entries()) {
        named.push_back(entry.isLog ? entry.function + "# " + entry.text : entry.text);
    }
    EXPECT_EQ(named,
        (std::vector<std::string>{
            "GenerateInfoCollectionReqCommand# I Collection: GenerateInfoCollectionReqCommand " + request,
            asked + "collaborationIdStr: 0**e", asked + "commandPropStr: " + request,
            "Request(network-1, me, collaborationCtrlSession)",
            "CreateCommand# I Collection: infoCollectionCommand host",
            "CreateCommand# I Collection: complete infoCollectionCommand",
            "Execute# I Collection: executeInfoCollect, collaborationSessionId:9, infoSize:1",
            "Execute# I Collection: executeInfoCollect, infoName:host", "AddAsynTask(2)",
            "Execute# I Collection: add async result = 1", "Release# I Collection: InfoCollectionCommand Release",
            "GetInfoAndResponse# I Collection: GetLocalDeviceDynamicInfo begin, collaborationSessionId:9",
            local + "GetLocalDeviceDynamicInfo check dynamicMapByPak",
            local + "GetLocalDeviceDynamicInfo check dynamicMapBySa", local + "dynamic key:host,saId:5,Code:7",
            local + "dynamic key:switch,saId:5,Code:7",
            "GetLocalDeviceDynamicInfo# E Collection: info host not found in dynamicMapByPak", "CheckSystemAbility(5)",
            "RequestSaOnConfigInfo# I Collection: RequestSaOnConfigInfo CheckSystemAbility pass",
            "SendRequest(service, 7, 0, 8)",
            "RequestSaOnConfigInfo# I Collection: RequestSaOnConfigInfo ReadString result " + REPLY,
            "RequestSingleSaOnConfigInfo# I Collection: RequestSaOnConfigInfo resultJson get value  " + value,
            "CheckAndGetDynamicInfoBySa# I Collection: info host Sa get result " + value,
            "GetInfoAndResponse# I Collection: GetLocalDeviceDynamicInfo end, collaborationSessionId:9",
            "ResponseInfoCollecRes# I Collection: ResponseInfoCollecRes begin",
            "ResponseInfoCollecRes# I Collection: ResponseInfoCollecRes desData:" + answer, "TransmitMsg(9, 3, false)",
            "OnDataReceived# I Collection: OnDataReceived rawData is:" + answer,
            "OnDataReceived# I Collection: OnDataReceived member is:host, value is:" + value,
            "SetDynamicInfo# I Collection: SetDynamicInfo, collaborationId: 42",
            "GetInfoAndResponse# I Collection: GetInfoAndResponse success",
            "DeviceDynamicInfo# I Collection: key=host, value=" + value,
            asked + "infoRes result receive success, collaborationId: 42,         collaborationSessionId: 7"}));
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
