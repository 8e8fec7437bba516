#include "plugin/info_collection/info_collection_process.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

class Messages : public Testing::LibraryTest {
protected:
    InfoCollectionProcess& process = *InfoCollectionProcess::GetInstance();
};

TEST_F(Messages, RequestIsStyledAndKeepsOrderAndDuplicates) {
    const std::string text = process.GenerateInfoCollectionReqCommand({"b", "a", "b"});
    EXPECT_EQ(text, "{\n\t\"commandType\" : 1,\n\t\"keyList\" : \n\t[\n\t\t\"b\",\n\t\t\"a\",\n\t\t\"b\"\n\t]\n}\n");
    EXPECT_THAT(device.journal.Lines(), ElementsAre("I Collection: GenerateInfoCollectionReqCommand " + text));
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
        {R"({"commandType":0,"keyList":["a"]})", 0, {}, complete},
        {R"({"commandType":-1,"keyList":["a"]})", 0, {}, complete},
        {R"({"commandType":3,"keyList":["a",5]})", 0, {}, "E CFWKService: invalid keyList value param!"},
        {R"({"commandType":1.5,"keyList":[5]})", 0, {}, noType},
        {R"({'commandType':1,'keyList':[]})", 0, {}, noJson},
        {process.GenerateInfoCollectionReqCommand(most), 1, most, complete},
        {process.GenerateInfoCollectionReqCommand(tooMany), 0, {}, "E Collection: external input over limit"},
        {R"({"commandType":1,"keyList":["a",5]})", 0, {}, "E CFWKService: invalid keyList value param!"},
        {R"({"commandType":"1","keyList":["a"]})", 0, {}, noType},
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
        EXPECT_EQ(device.journal.Lines(), lines);
    }
    Json::Value array(Json::arrayValue);
    EXPECT_FALSE(process.IsValidCommandProp(array));
    EXPECT_EQ(device.journal.Lines().back(), "E CFWKService: invalid jsonObj param!");
}

TEST_F(Messages, ResponseIsTakenMemberByMemberAsText) {
    const std::string text = R"({"s":"x","n":1,"b":true,"null":null,"s":"last"})";
    process.OnDataReceived(42, text.c_str(), 1);  // the length counts only against the limit
    EXPECT_THAT(device.journal.Lines(),
        ElementsAre("I Collection: OnDataReceived rawData is:" + text,
            "I Collection: OnDataReceived member is:b, value is:true",
            "I Collection: OnDataReceived member is:n, value is:1",
            "I Collection: OnDataReceived member is:null, value is:",
            "I Collection: OnDataReceived member is:s, value is:last",
            "I Collection: SetDynamicInfo, collaborationId: 42", "E Collection: SetDynamicInfo failed"));
}

TEST_F(Messages, ResponseThatIsMalformedOrTooLongIsDroppedAsAWhole) {
    const std::string text = "{}";
    process.OnDataReceived(42, text.c_str(), 4194304);
    EXPECT_TRUE(device.journal.Has("I Collection: SetDynamicInfo, collaborationId: 42"));

    device.journal.Clear();
    process.OnDataReceived(42, nullptr, 0);
    process.OnDataReceived(42, text.c_str(), 4194305);
    EXPECT_THAT(device.journal.Lines(),
        ElementsAre("E Collection: OnDataReceived rawData is null",
            "E Collection: OnDataReceived rawDataLen:4194305 is oversize"));
    for (const std::string& bad : {std::string("[]"), std::string("null"), std::string("x"), std::string(),
             std::string(100000, '['), std::string(R"({"a":"fine","b":["not"]})"), std::string(R"({"a":{}})")}) {
        device.journal.Clear();
        process.OnDataReceived(42, bad.c_str(), bad.size());
        EXPECT_THAT(device.journal.Lines(),
            ElementsAre("I Collection: OnDataReceived rawData is:" + bad, "E Collection: StringToJson failed"));
    }
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
