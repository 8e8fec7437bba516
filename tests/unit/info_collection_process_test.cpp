#include "plugin/info_collection/info_collection_process.h"

#include "plugin/info_collection/info_collection_service.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

TEST(Loading, RegistersTheListenerAndThenThePlugin) {
    std::vector<std::string> registrations;
    for (const std::string& call : Testing::SimulatedDevice::Boot().journal.Calls()) {
        if (call.starts_with("Register")) {
            registrations.push_back(call);
        }
    }
    EXPECT_THAT(registrations, ElementsAre("RegisterEventListener(3)", "RegisterInstance(5)"));
    EXPECT_TRUE(Testing::SimulatedDevice::Boot().host.plugin);
    EXPECT_THAT(Testing::SimulatedDevice::Boot().journal.Lines(),
        IsSupersetOf({"I Collection: create InfoCollectionProcess", "I Collection: create InfoCollectionService"}));
}

class Process : public Testing::LibraryTest {};

TEST_F(Process, IsMadeOnceThoughTwoThreadsAreFirstAndIsWhatTheHostGets) {
    Testing::SecondThread second;
    InfoCollectionProcess* other = nullptr;
    device.host.during["RegisterEventListener"] = [&] {
        EXPECT_TRUE(second.Waits([&other] { other = InfoCollectionProcess::GetInstance(); }));
    };
    LibraryRenewer::RenewAll();
    second.Join();
    EXPECT_EQ(other, InfoCollectionProcess::GetInstance());
    EXPECT_EQ(device.host.plugin, other);
    ExpectCount("I Collection: create InfoCollectionProcess", 1);
    ExpectCount("I Collection: destroy InfoCollectionProcess", 1);
}

class Messages : public Testing::LibraryTest {
protected:
    InfoCollectionProcess& process = *InfoCollectionProcess::GetInstance();
};

TEST_F(Messages, RequestIsStyledAndKeepsOrderAndDuplicates) {
    const std::string text = process.GenerateInfoCollectionReqCommand({"b", "a", "b"});
    EXPECT_EQ(text, "{\n\t\"commandType\" : 1,\n\t\"keyList\" : \n\t[\n\t\t\"b\",\n\t\t\"a\",\n\t\t\"b\"\n\t]\n}\n");
    ExpectLines({"I Collection: GenerateInfoCollectionReqCommand " + text});
    EXPECT_EQ(process.GenerateInfoCollectionReqCommand({}), "{\n\t\"commandType\" : 1,\n\t\"keyList\" : []\n}\n");
    EXPECT_EQ(process.UIntToElevenLengthString(0), "00000000000");
    EXPECT_EQ(process.UIntToElevenLengthString(4294967295), "04294967295");
}

TEST_F(Messages, RequestBecomesOneCommandOrALineThatSaysWhyNot) {
    struct Row {
        std::string text;
        size_t commands;
        std::vector<std::string> names;
        std::string lastLine;
    };
    const std::vector<std::string> most(1024, "k"), tooMany(1025, "k");
    const std::string complete = "I Collection: complete infoCollectionCommand";
    const std::string noJson = "E Collection: get commandProp json invalid!";
    const std::string noMember = "E CFWKService: invalid jsonObj inner param!";
    const std::string noType = "E CFWKService: invalid jsonObj value param!";
    const std::vector<Row> rows{
        {R"({"commandType":1,"keyList":["a","","a"]})", 1, {"a", "", "a"}, complete},
        {R"({"commandType":1,"keyList":[]})", 1, {}, complete},
        {R"({"commandType":1,"keyList":null})", 1, {}, complete},
        {R"({"commandType":1,"keyList":{"x":"a"}})", 1, {"a"}, complete},
        {"/* so */ {\"commandType\":1,\"keyList\":[\"b\",\"a\"]} and more", 1, {"b", "a"}, complete},
        {R"({"commandType":2,"keyList":["a"]})", 0, {}, complete},
        {R"({"commandType":-1,"keyList":["a"]})", 0, {}, complete},
        {R"({"commandType":3,"keyList":["a",5]})", 0, {}, "E CFWKService: invalid keyList value param!"},
        {R"({"commandType":1.5,"keyList":[5]})", 0, {}, noType},
        {R"({'commandType':1,'keyList':[]})", 0, {}, noJson},
        {process.GenerateInfoCollectionReqCommand(most), 1, most, complete},
        {process.GenerateInfoCollectionReqCommand(tooMany), 0, {}, "E Collection: external input over limit"},
        {R"({"commandType":4294967297,"keyList":["a"]})", 0, {}, noType},
        {R"({"keyList":["a"]})", 0, {}, noMember},
        {R"({"commandType":1})", 0, {}, noMember},
        {R"(["commandType","keyList"])", 0, {}, noJson},
        {"commandType", 0, {}, noJson},
        {"", 0, {}, noJson},
        {std::string(100000, '['), 0, {}, noJson},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 100));
        device.journal.Clear();
        EXPECT_EQ(process.CreateCommand(row.text).size(), row.commands);
        std::vector<std::string> lines;
        for (const std::string& name : row.names) {
            lines.push_back("I Collection: infoCollectionCommand " + name);
        }
        lines.push_back(row.lastLine);
        ExpectLines(lines);
    }
    process.CreateCommand(R"({"commandType":1,"keyList":["b","a"]})")[0]->Execute(7);
    EXPECT_EQ(device.journal.LinesOf("Execute")[1], "I Collection: executeInfoCollect, infoName:b");
    Json::Value array(Json::arrayValue);
    EXPECT_FALSE(process.IsValidCommandProp(array));
    ExpectLast("E CFWKService: invalid jsonObj param!");
}

TEST_F(Messages, ResponseIsTakenMemberByMemberAsText) {
    const std::string text = R"({"s":"x","n":1,"b":true,"null":null,"s":"last"})";
    process.OnDataReceived(42, text.c_str(), 1);  // the length counts only against the limit
    ExpectLines(
        {"I Collection: OnDataReceived rawData is:" + text, "I Collection: OnDataReceived member is:b, value is:true",
            "I Collection: OnDataReceived member is:n, value is:1",
            "I Collection: OnDataReceived member is:null, value is:",
            "I Collection: OnDataReceived member is:s, value is:last",
            "I Collection: SetDynamicInfo, collaborationId: 42", "E Collection: SetDynamicInfo failed"});
}

TEST_F(Messages, ResponseThatIsMalformedOrTooLongIsDroppedAsAWhole) {
    const std::string text = "{}";
    process.OnDataReceived(42, text.c_str(), 4194304);
    ExpectHas("I Collection: SetDynamicInfo, collaborationId: 42");

    device.journal.Clear();
    process.OnDataReceived(42, nullptr, 0);
    process.OnDataReceived(42, text.c_str(), 4194305);
    ExpectLines({"E Collection: OnDataReceived rawData is null",
        "E Collection: OnDataReceived rawDataLen:4194305 is oversize"});
    for (const std::string& bad : {std::string("[]"), std::string("null"), std::string("x"), std::string(),
             std::string(100000, '['), std::string(R"({"a":"fine","b":["not"]})"), std::string(R"({"a":{}})")}) {
        device.journal.Clear();
        process.OnDataReceived(42, bad.c_str(), bad.size());
        ExpectLines({"I Collection: OnDataReceived rawData is:" + bad, "E Collection: StringToJson failed"});
    }
}

class ChannelListener : public Testing::LibraryTest {
protected:
    void Deliver(const std::string& id, const CollaborationFwkProtocol& message) {
        const auto protocol = std::make_shared<CollaborationFwkProtocol>(message);
        device.host.listeners.back()->OnDataReceived(id, protocol, 4194305);
    }
};

TEST_F(ChannelListener, IsRegisteredAfreshWhenTheHostAsksAndNeverWithoutAManager) {
    InfoCollectionProcess::GetInstance()->InitEventListener();
    ASSERT_EQ(device.host.listeners.size(), 2U);
    EXPECT_NE(device.host.listeners[0], device.host.listeners[1]);

    device.host.hasListenerManager = false;
    InfoCollectionProcess::GetInstance()->InitEventListener();
    ExpectAll({"RegisterEventListener(3)"});
    Deliver("00000000042-me", CollaborationFwkProtocol("{}"));
    ExpectLast("E CFWKService: FetchCollaborationId fail");
    EXPECT_FALSE(device.host.listeners.back()->IsIdExist("00000000042-me"));
}

TEST_F(ChannelListener, PassesAMessageOnUnderItsIdAndWithItsOwnLengthUnlessItLacksPayloadOrId) {
    device.host.unknownIdCode = -1;
    Deliver("nobody", CollaborationFwkProtocol("{}"));
    ExpectLast("E CFWKService: FetchCollaborationId fail");
    device.journal.Clear();
    device.host.unknownIdCode = 1;
    device.host.listeners.back()->OnDataReceived("nobody", nullptr, 5);
    Deliver("nobody", CollaborationFwkProtocol());
    Deliver("nobody", CollaborationFwkProtocol("{}"));
    ExpectLines({"E CFWKService: rawData is null", "E CFWKService: rawData is null",
        "E CFWKService: FetchCollaborationId fail"});
    Deliver("00000000042-me", CollaborationFwkProtocol("{}"));
    ExpectHas("I Collection: SetDynamicInfo, collaborationId: 42");
    Deliver("00000000043-me", CollaborationFwkProtocol(std::string(4194306, ' ')));
    ExpectLast("E Collection: OnDataReceived rawDataLen:4194306 is oversize");
}

TEST_F(ChannelListener, KnowsAnIdOnlyWhileItsRequestWaitsWhichOutlivesItsChannel) {
    EventListener& listener = *device.host.listeners.back();
    EXPECT_FALSE(listener.IsIdExist("00000000042-me"));
    device.time.At(1s, [&listener] {
        EXPECT_TRUE(listener.IsIdExist("00000000042-me"));
        EXPECT_FALSE(listener.IsIdExist("nobody"));
        listener.OnCtrlChannelShutDown("00000000042-me");
        listener.OnWiFiShutDown();
        EXPECT_FALSE(listener.IsIdExist(42));
    });
    device.time.At(4s, [this] { Deliver("00000000042-me", CollaborationFwkProtocol(R"({"a":""})")); });
    DeviceInfo peer("udid", "network", "desk", DeviceType::PC);
    std::vector<DeviceDynamicInfo> records;
    EXPECT_EQ(InfoCollectionService::GetInstance().GetRemoteDeviceDynamicInfo(peer, "me", {"a"}, records), 0);
    EXPECT_EQ(device.time.Elapsed(), 4s);
    EXPECT_FALSE(listener.IsIdExist("00000000042-me"));
    ExpectHas("I CFWKService: on ctrl channel shutDown", "I CFWKService: on wifi shutDown");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
