#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

namespace fs = std::filesystem;

const std::string ASKED = "I Collection: StartRequestSa requestRes:1009, resultJson";

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
    int32_t StartWithEntries(const std::string& entries) { return Start("{\"info_config\":[" + entries + "]}"); }

    // Every name with the id of its service.
    std::string Providers() const {
        std::string providers;
        for (const auto& [name, info] : manager.GetDynamicMap()) {
            providers += name + (name == info.infoName ? "=" : "!=") + std::to_string(info.saId) + " ";
        }
        return providers;
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

TEST_F(ProviderFile, IsTakenInEntryByEntryBeforeTheServicesAreAsked) {
    EXPECT_EQ(StartWithEntries(R"({"sa_id":5,"sa_descriptor":"IÄ","cmdCode_id":7,"unknown":0,
        "static_info":["wrong",{"model":"x","count":1}],"dynamic_info":[{"b":1,"a":null},5,{"b":""}]})"),
        0);
    ExpectAll({"I Collection: Get infoConfig Success", "I Collection: staticInfoObj config wrong format",
        "I Collection: staticInfoObj key:model val:x", "I Collection: ParseStaticInfo for infoConfigArray index:1",
        "I Collection: ParseStaticInfo over for size 2", "I Collection: dynamicInfo key:a",
        "I Collection: dynamicInfo key:b", "I Collection: ParseDynamicInfo for infoConfigArray index:0",
        "I Collection: dynamicInfoObj config wrong format", "I Collection: dynamicInfo key:b",
        "I Collection: ParseDynamicInfo for infoConfigArray index:2", "I Collection: ParsedynamicInfo over",
        "I Collection: SetDynamicMapBySa for infoName:a", "I Collection: SetDynamicMapBySa for infoName:b",
        "I Collection: SetDynamicMapBySa for infoName:b", "I Collection: ParseInfoConfig for infoConfigArray index:0",
        "I Collection: ParseInfoConfig array size 1 done", "I Collection: ParseInfoConfig bool reuslt 1",
        "E Collection: CheckSystemAbility samgr is nullptr",
        "I Collection: RequestSaOnConfigInfo CheckSystemAbility nullptr", ASKED});
    EXPECT_EQ(Providers(), "a=5 b=5 ");
    EXPECT_EQ(manager.GetDynamicMap()["a"].cmdCodeId, 7);
    EXPECT_EQ(manager.GetDynamicMap()["a"].saDescriptor, u"IÄ");
}

TEST_F(ProviderFile, HasEachServiceAskedOnceForItsWholeListAndAllAgainWhenReadAgain) {
    std::vector<std::string> asked;
    device.systemAbilities.hasManager = true;
    device.systemAbilities.running[-1] = device.MakeRemote("service", [&](uint32_t, auto& data, auto& reply) {
        data.ReadInterfaceToken();
        data.ReadStringVector(asked);
        reply.WriteString("said");
        return 0;
    });
    StartWithEntries(R"({"sa_id":4294967295,"sa_descriptor":"","cmdCode_id":4294967294,
        "dynamic_info":[{"b":"","a":""},{"b":""}]})");
    EXPECT_THAT(asked, ElementsAre("a", "b", "b"));
    ExpectLast("I Collection: StartRequestSa requestRes:0, resultJsonsaid");
    StartWithEntries(R"({"sa_id":6,"sa_descriptor":"","cmdCode_id":1,"dynamic_info":[{"b":"","c":""}]})");
    ExpectCalls({"CheckSystemAbility(-1)", "SendRequest(service, 4294967294, 0, 8)", "CheckSystemAbility(6)",
        "LoadSystemAbility(6)"});
    EXPECT_EQ(Providers(), "a=-1 b=-1 c=6 ");  // whoever was first keeps a name
}

TEST_F(ProviderFile, ThatCannotBeReadIsAnErrorWithItsReason) {
    const std::string unparsed = "E Collection: config.json parse failed";
    const auto expectFailure = [this](int32_t result, const std::string& reason) {
        EXPECT_EQ(result, -1);
        ExpectAll({reason, "E Collection: read requestSaPre.json null"});
        device.journal.Clear();
    };
    expectFailure(manager.StartRequestSa(), "E DeviceDetect: realPath is null");
    for (const auto& text : {"x", "", R"({"info_config":[1,]})", "\xef\xbb\xbf{}"}) {
        expectFailure(Start(text), unparsed);
    }
    expectFailure(Start(std::string(100000, '[')), unparsed);
    fs::remove(file);
    fs::create_directory(file);
    expectFailure(manager.StartRequestSa(), unparsed);
    fs::remove(file);
    ASSERT_EQ(mknod(file.c_str(), S_IFSOCK | S_IRUSR, 0), 0);  // is there, and cannot be opened
    expectFailure(manager.StartRequestSa(), "E Collection: config.json not open");
}

TEST_F(ProviderFile, WithoutAListOfEntriesHasNone) {
    for (const char* text : {"{}", "[]", "5", R"({"info_config":{"a":1}})", R"({"info_config":"x"})"}) {
        EXPECT_EQ(Start(text), 0);
        EXPECT_EQ(device.journal.Lines()[1], "I Collection: ParseInfoConfig array size 0 done");
    }
    std::unique_ptr<Json::Value> none;
    EXPECT_TRUE(manager.ParseInfoConfig(none));
}

TEST_F(ProviderFile, WithTooManyEntriesIsRefusedAsAWholeButLongListsInsideAreCut) {
    const std::string entry = R"({"sa_id":5,"sa_descriptor":"","cmdCode_id":7,"dynamic_info":[{"a":""}]})";
    StartWithEntries(Repeat(entry, 1024));
    ExpectCount(ASKED, 1024);
    EXPECT_EQ(StartWithEntries(Repeat(entry, 1025)), 0);
    std::vector<std::string> lines = device.journal.LinesOf("StartRequestSa");
    lines.resize(2);
    EXPECT_THAT(lines, ElementsAre("I Collection: ParseInfoConfig bool reuslt 0", ASKED));
    ExpectHas("E Collection: ParseInfoConfig array size too large");
    ExpectCount(ASKED, 1024);  // what was taken in before

    StartWithEntries(R"({"sa_id":6,"sa_descriptor":"","cmdCode_id":7,"static_info":[)" + Repeat(R"({"s":"x"})", 1024) +
        R"(,{"s":"late"}],"dynamic_info":[)" + Repeat("0", 1023) + R"(,{"last":""},{"late":""}]})");
    ExpectCount("I Collection: staticInfoObj key:s val:x", 1024);
    ExpectHasNot("I Collection: staticInfoObj key:s val:late");
    ExpectHas("I Collection: ParseStaticInfo over for size 1024");
    EXPECT_EQ(Providers(), "a=5 last=6 ");
}

TEST_F(ProviderFile, KeepsItsOtherEntriesWhenOneIsMalformed) {
    const std::string noFields = "E Collection: infoConfigObj not have momentous fields";
    struct Row {
        std::string fields;
        bool takesStatic;
        std::string line;
    };
    const std::vector<Row> rows{{R"("sa_descriptor":"","cmdCode_id":7,"dynamic_info":[{"d":""}])", false, noFields},
        {R"("sa_id":-1,"sa_descriptor":"","cmdCode_id":7,"dynamic_info":[{"d":""}])", false, noFields},
        {R"("sa_id":"5","sa_descriptor":"","cmdCode_id":7,"dynamic_info":[{"d":""}])", false, noFields},
        {R"("sa_id":5,"sa_descriptor":null,"cmdCode_id":7,"dynamic_info":[{"d":""}])", false, noFields},
        {R"("sa_id":5,"sa_descriptor":"","cmdCode_id":4294967296,"dynamic_info":[{"d":""}])", false, noFields},
        {"\"sa_id\":5,\"sa_descriptor\":\"\xc3\",\"cmdCode_id\":7,\"dynamic_info\":[{\"d\":\"\"}]", true, noFields},
        {R"("sa_id":5,"sa_descriptor":"","cmdCode_id":7)", true, "E Collection: infoConfigObj not have dynamic_info"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fields);
        EXPECT_EQ(StartWithEntries("{\"static_info\":[{\"s\":\"x\"}]," + row.fields +
                      R"(},5,{"sa_id":9,"sa_descriptor":"","cmdCode_id":7,"static_info":{},"dynamic_info":"d"})"),
            0);
        EXPECT_EQ(device.journal.Has("I Collection: staticInfoObj key:s val:x"), row.takesStatic);
        std::vector<std::string> lines = device.journal.Lines();
        lines.erase(lines.begin(), std::find(lines.begin(), lines.end(), row.line));
        lines.resize(5);
        EXPECT_THAT(lines,
            ElementsAre(row.line, "I Collection: infoConfigObj config wrong format",
                "E Collection: ParseStaticInfo parse fail", "E Collection: ParseDynamicInfo parse fail",
                "I Collection: ParseInfoConfig for infoConfigArray index:2"));
        EXPECT_EQ(Providers(), "");
        ExpectCount(ASKED, static_cast<size_t>(&row - rows.data() + 1));  // also without names
    }
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
