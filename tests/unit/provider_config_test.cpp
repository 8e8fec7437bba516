#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

class ProviderFile : public Testing::LibraryTest {
protected:
    ProviderFile() {
        device.systemRoot = fs::temp_directory_path() / ("provider_file." + std::to_string(getpid()));
        file = device.systemRoot + "/system/etc/CollaborationFwk/requestSaPre.json";
        fs::create_directories(fs::path(file).parent_path());
        device.systemAbilities.hasManager = false;
    }
    ~ProviderFile() override { fs::remove_all(device.systemRoot); }

    int32_t Start(const std::string& text) {
        std::ofstream(file, std::ios::binary) << text;
        device.journal.Clear();
        return manager.StartRequestSa();
    }
    // A file of these entries, separated by commas.
    int32_t StartWith(const std::string& entries) { return Start("{\"info_config\":[" + entries + "]}"); }

    std::string SaIds() const {
        std::string ids;
        for (const auto& [name, info] : manager.GetDynamicMap()) {
            EXPECT_EQ(name, info.infoName);
            ids += name + "=" + std::to_string(info.saId) + " ";
        }
        return ids;
    }

    RequestSAManager& manager = *RequestSAManager::GetInstance();
    std::string file;
};

std::string Repeat(const std::string& text, size_t times) {
    std::string list = text;
    for (size_t i = 1; i < times; ++i) {
        list += "," + text;
    }
    return list;
}

TEST_F(ProviderFile, NamesServicesThatAreThenAskedOnceEach) {
    EXPECT_EQ(StartWith(R"({"sa_id":5,"sa_descriptor":"IÄ","cmdCode_id":7,"unknown":0,
        "static_info":[{"model":"x","count":1},"wrong",{}],"dynamic_info":[{"b":1,"a":null},5,{"b":""}]},
        {"sa_id":4294967295,"sa_descriptor":"","cmdCode_id":4294967294,"static_info":[],"dynamic_info":[]})"),
        0);
    const std::string notAsked = "E Collection: CheckSystemAbility samgr is nullptr";
    const std::string notRunning = "I Collection: RequestSaOnConfigInfo CheckSystemAbility nullptr";
    const std::string result = "I Collection: StartRequestSa requestRes:1009, resultJson";
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: Get infoConfig Success", "I Collection: staticInfoObj key:model val:x",
            "I Collection: ParseStaticInfo for infoConfigArray index:0",
            "I Collection: staticInfoObj config wrong format",
            "I Collection: ParseStaticInfo for infoConfigArray index:2",
            "I Collection: ParseStaticInfo over for size 3", "I Collection: dynamicInfo key:a",
            "I Collection: dynamicInfo key:b", "I Collection: ParseDynamicInfo for infoConfigArray index:0",
            "I Collection: dynamicInfoObj config wrong format", "I Collection: dynamicInfo key:b",
            "I Collection: ParseDynamicInfo for infoConfigArray index:2", "I Collection: ParsedynamicInfo over",
            "I Collection: SetDynamicMapBySa for infoName:a", "I Collection: SetDynamicMapBySa for infoName:b",
            "I Collection: SetDynamicMapBySa for infoName:b",
            "I Collection: ParseInfoConfig for infoConfigArray index:0",
            "I Collection: ParseStaticInfo over for size 0", "I Collection: ParsedynamicInfo over",
            "I Collection: ParseInfoConfig for infoConfigArray index:1",
            "I Collection: ParseInfoConfig array size 2 done", "I Collection: ParseInfoConfig bool reuslt 1", notAsked,
            notRunning, result, notAsked, notRunning, result));
    EXPECT_EQ(SaIds(), "a=5 b=5 ");
    const DynamicInfoMapBySa info = manager.GetDynamicMap()["a"];
    EXPECT_EQ(info.cmdCodeId, 7);
    EXPECT_EQ(info.saDescriptor, u"IÄ");

    device.systemAbilities.hasManager = true;
    std::vector<std::vector<std::string>> asked;
    device.systemAbilities.running[-1] = device.MakeRemote("last", [&](uint32_t, auto& data, auto& reply) {
        EXPECT_EQ(data.ReadInterfaceToken(), u"");
        data.ReadStringVector(asked.emplace_back());
        reply.WriteString("said");
        return 0;
    });
    EXPECT_EQ(StartWith(R"({"sa_id":6,"sa_descriptor":"","cmdCode_id":1,"dynamic_info":[{"b":"","c":""}]})"), 0);
    EXPECT_EQ(SaIds(), "a=5 b=5 c=6 ");  // whoever was first keeps a name
    EXPECT_THAT(device.journal.Calls(),
        ElementsAre("CheckSystemAbility(5)", "LoadSystemAbility(5)", "CheckSystemAbility(-1)",
            "SendRequest(last, 4294967294, 0, 8)", "CheckSystemAbility(6)", "LoadSystemAbility(6)"));
    EXPECT_TRUE(device.journal.Has("I Collection: StartRequestSa requestRes:0, resultJsonsaid"));
    EXPECT_THAT(asked, ElementsAre(IsEmpty()));
    EXPECT_THAT(std::get<3>(manager.GetReqTasks().front()), ElementsAre("a", "b", "b"));

    StartWith("");
    EXPECT_EQ(device.journal.Calls().size(), 4U);  // all three are asked again
}

TEST_F(ProviderFile, ThatCannotBeReadIsAnErrorWithItsReason) {
    const auto expectFailure = [this](int32_t result, const std::string& reason) {
        EXPECT_EQ(result, -1);
        EXPECT_THAT(device.journal.All(), ElementsAre(reason, "E Collection: read requestSaPre.json null"));
    };
    for (const std::string& text : {std::string("x"), std::string(), std::string(R"({"info_config":[1,]})"),
             std::string("\xef\xbb\xbf{}"), std::string(100000, '[')}) {
        expectFailure(Start(text), "E Collection: config.json parse failed");
    }
    const auto expectFailureOf = [&](const std::string& reason) {
        device.journal.Clear();
        expectFailure(manager.StartRequestSa(), reason);
    };
    fs::remove(file);
    expectFailureOf("E DeviceDetect: realPath is null");
    fs::create_directory(file);
    expectFailureOf("E Collection: config.json parse failed");
    fs::remove(file);
    const int unopenable = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{AF_UNIX, {}};
    file.copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(unopenable, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    expectFailureOf("E Collection: config.json not open");
    close(unopenable);
}

TEST_F(ProviderFile, WithoutAListOfEntriesHasNone) {
    for (const char* text : {"{}", "[]", "5", R"({"info_config":{"a":1}})", R"({"info_config":"x"})"}) {
        EXPECT_EQ(Start(text), 0);
        EXPECT_THAT(device.journal.All(),
            ElementsAre("I Collection: Get infoConfig Success", "I Collection: ParseInfoConfig array size 0 done",
                "I Collection: ParseInfoConfig bool reuslt 1"));
    }
}

TEST_F(ProviderFile, WithTooManyEntriesIsRefusedAsAWholeButLongListsInsideAreCut) {
    const std::string entry = R"({"sa_id":5,"sa_descriptor":"","cmdCode_id":7,"dynamic_info":[{"a":""}]})";
    EXPECT_EQ(StartWith(Repeat(entry, 1025)), 0);
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: Get infoConfig Success", "E Collection: ParseInfoConfig array size too large",
            "I Collection: ParseInfoConfig bool reuslt 0"));
    EXPECT_EQ(SaIds(), "");

    StartWith(Repeat(entry, 1024));
    EXPECT_TRUE(device.journal.Has("I Collection: ParseInfoConfig for infoConfigArray index:1023"));
    EXPECT_EQ(device.journal.Count("I Collection: StartRequestSa requestRes:1009, resultJson"), 1024U);

    StartWith(R"({"sa_id":6,"sa_descriptor":"","cmdCode_id":7,"static_info":[)" + Repeat(R"({"s":"x"})", 1024) +
        R"(,{"s":"late"}],"dynamic_info":[)" + Repeat(R"({"b":""})", 1024) + R"(,{"late":""}]})");
    EXPECT_TRUE(device.journal.Has("I Collection: ParseStaticInfo over for size 1024"));
    EXPECT_EQ(device.journal.Count("I Collection: staticInfoObj key:s val:x"), 1024U);
    EXPECT_FALSE(device.journal.Has("I Collection: staticInfoObj key:s val:late"));
    EXPECT_EQ(SaIds(), "a=5 b=6 ");
}

TEST_F(ProviderFile, KeepsItsOtherEntriesWhenOneIsMalformed) {
    const std::string good = R"(,{"sa_id":5,"sa_descriptor":"","cmdCode_id":7,"static_info":[],"dynamic_info":[]})";
    const std::string statics = R"("static_info":[{"s":"x"}],)";
    const std::vector<std::string> takesStatics{"I staticInfoObj key:s val:x",
        "I ParseStaticInfo for infoConfigArray index:0", "I ParseStaticInfo over for size 1"};
    const std::string fields = "E infoConfigObj not have momentous fields";
    const auto afterStatics = [&takesStatics](const std::string& line) {
        std::vector<std::string> lines = takesStatics;
        lines.push_back(line);
        return lines;
    };
    struct Row {
        std::string entry;
        std::vector<std::string> lines;
    };
    const std::vector<Row> rows{
        {"5", {"I infoConfigObj config wrong format"}},
        {"{" + statics + R"("sa_descriptor":"","cmdCode_id":7,"dynamic_info":[{"d":""}]})", {fields}},
        {"{" + statics + R"("sa_id":-1,"sa_descriptor":"","cmdCode_id":7,"dynamic_info":[{"d":""}]})", {fields}},
        {"{" + statics + R"("sa_id":"5","sa_descriptor":"","cmdCode_id":7,"dynamic_info":[{"d":""}]})", {fields}},
        {"{" + statics + R"("sa_id":5,"sa_descriptor":null,"cmdCode_id":7,"dynamic_info":[{"d":""}]})", {fields}},
        {"{" + statics + R"("sa_id":5,"sa_descriptor":"","cmdCode_id":4294967296,"dynamic_info":[{"d":""}]})",
            {fields}},
        {"{" + statics + "\"sa_id\":5,\"sa_descriptor\":\"\xc3\",\"cmdCode_id\":7,\"dynamic_info\":[{\"d\":\"\"}]}",
            afterStatics(fields)},
        {"{" + statics + R"("sa_id":5,"sa_descriptor":"","cmdCode_id":7})",
            afterStatics("E infoConfigObj not have dynamic_info")},
        {R"({"sa_id":5,"sa_descriptor":"","cmdCode_id":7,"static_info":{},"dynamic_info":"d"})",
            {"E ParseStaticInfo parse fail", "E ParseDynamicInfo parse fail",
                "I ParseInfoConfig for infoConfigArray index:0"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.entry);
        EXPECT_EQ(StartWith(row.entry + good), 0);
        std::vector<std::string> lines;
        for (std::string line : device.journal.Lines()) {
            lines.push_back(line.replace(1, sizeof(" Collection:") - 1, ""));
        }
        ASSERT_GT(lines.size(), row.lines.size());
        EXPECT_EQ(std::vector(lines.begin() + 1, lines.begin() + 1 + row.lines.size()), row.lines);
        EXPECT_EQ(lines[row.lines.size() + 3], "I ParseInfoConfig for infoConfigArray index:1");
        EXPECT_EQ(SaIds(), "");
    }
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
