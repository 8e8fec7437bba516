#include "platform/ipc/string_conversion.h"
#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/info_collection_manager.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/scarce_memory.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

const std::string CONNECT = "ConnectAbility(com.app, Facts, -1)";

class LocalInfo : public Testing::LibraryTest {
protected:
    LocalInfo() { Declare("cpu", "1f"); }

    void Declare(const std::string& name, const std::string& code, const std::string& service = "Facts",
        const std::string& bundle = "com.app") {
        AppInfoCollection::GetInstance()->ParseStrToJson(R"({"static_info":{},"dynamic_info":[{")" + name +
                R"(":{"serviceExtensionAbilityName":")" + service + R"(","commandCode":")" + code +
                R"(","variable":"var","dataShareUri":"uri"}}]})",
            bundle);
        device.journal.Clear();
    }
    // The platform connects to the app, which answers an item with its name, an item "twice" with the number of the
    // answer besides, as soon as the library waits for it.
    void StartApp() {
        app = device.MakeApp("app", [this](const std::u16string& item) {
            ++answers;
            return u"app:" + item + (item == u"twice" ? Str8ToStr16(std::to_string(answers)) : u"");
        });
        device.time.At(0s, [this] { device.apps.Connect(app); });
    }
    std::string Ask(std::vector<std::string> names) {
        std::unordered_map<std::string, std::string> result;
        InfoCollectionManager::GetInstance()->GetLocalDeviceDynamicInfo(names, result);
        std::string text;
        for (const auto& [name, value] : std::map(result.begin(), result.end())) {
            text.append(name).append("=").append(value).append(" ");
        }
        return text;
    }

    sptr<Testing::FakeRemote> app;
    int answers = 0;
};

TEST_F(LocalInfo, ComesFromTheAppThatDeclaredItAndOnlyElseFromASystemService) {
    RequestSAManager::GetInstance()->SetDynamicMapBySa(5, 7, u"I", {"cpu", "kernel"});
    device.systemAbilities.running[5] = device.MakeService(R"({"cpu":{"value":"service"},"kernel":{"value":"6.1"}})");
    StartApp();
    device.journal.Clear();
    EXPECT_EQ(Ask({"cpu", "nobody", "kernel", "cpu"}), "cpu=app:cpu kernel=6.1 nobody= ");
    ExpectCalls({CONNECT, "AddAsynTask(2)", "SendRequest(app, 31, 0, 8)", "CheckSystemAbility(5)",
        "SendRequest(service, 7, 0, 8)", "SendRequest(app, 31, 0, 8)"});
    std::vector<std::string> lines = device.journal.Lines();
    std::erase_if(lines, [](const std::string& line) {
        return line.find(": info ") == std::string::npos && line.find("dynamic") == std::string::npos;
    });
    EXPECT_THAT(lines,
        ElementsAre("I Collection: GetLocalDeviceDynamicInfo check dynamicMapByPak",
            "I Collection: dynamic key:cpu,info:cpu,bundle:com.app,Facts,Code:1f,var",
            "I Collection: GetLocalDeviceDynamicInfo check dynamicMapBySa",
            "I Collection: dynamic key:cpu,saId:5,Code:7", "I Collection: dynamic key:kernel,saId:5,Code:7",
            "E Collection: info nobody not found in dynamicMapByPak",
            "E Collection: info nobody not found in dynamicMapBySa",
            "E Collection: info kernel not found in dynamicMapByPak", "I Collection: info kernel Sa get result 6.1"));
}

TEST_F(LocalInfo, OfANameThatIsListedTwiceIsTheSecondAnswerAndAnAppsEmptyOneStands) {
    int calls = 0;
    RequestSAManager::GetInstance()->SetDynamicMapBySa(5, 7, u"I", {"cpu", "kernel"});
    device.systemAbilities.running[5] = device.MakeRemote("service", [&calls](auto&&, auto&&, MessageParcel& reply) {
        reply.WriteString(R"({"kernel":{"value":")" + std::to_string(++calls) + R"("}})");
        return 0;
    });
    Declare("twice", "1");
    EXPECT_EQ(Ask({"cpu", "kernel", "kernel"}), "cpu= kernel=2 ");
    ExpectCount("CheckSystemAbility(5)", 2);
    StartApp();
    EXPECT_EQ(Ask({"twice", "twice"}), "twice=app:twice2 ");
}

TEST_F(LocalInfo, NeedsMemoryForItsConnection) {
    {
        const Testing::ScarceMemory scarce(sizeof(AbilityConnectionImp));
        EXPECT_EQ(Ask({"cpu"}), "cpu= ");
    }
    ExpectLast("E Collection: create AbilityConnectionImp failed");
    EXPECT_TRUE(device.journal.Calls().empty());
    EXPECT_EQ(device.time.Elapsed(), 0s);
    StartApp();
    EXPECT_EQ(Ask({"cpu"}), "cpu=app:cpu ");
}

TEST_F(LocalInfo, KeepsItsConnectionFromBeingMadeOrClosedWhileItIsAsked) {
    Testing::SecondThread closing;
    app = device.MakeRemote("app", [&](auto&&...) {
        EXPECT_TRUE(closing.Waits([this] { device.pool.RunNext(); }));
        return 0;
    });
    device.time.At(0s, [this] { device.apps.Connect(app); });
    Ask({"cpu"});
    closing.Join();
    EXPECT_EQ(device.journal.Calls().back(), "DisconnectAbility(known)");
}

TEST_F(LocalInfo, WithACodeThatIsNoHexadecimalNumberIsEmptyAndNotAskedFor) {
    Declare("bad", "1G");
    Declare("big", "FFFFFFFF");
    EXPECT_EQ(Ask({"bad"}), "bad= ");
    ExpectCalls({CONNECT, "AddAsynTask(2)"});
    StartApp();
    EXPECT_EQ(Ask({"big", "bad"}), "bad= big=app:big ");
    EXPECT_EQ(device.journal.Calls().back(), "SendRequest(app, 4294967295, 0, 8)");
}

TEST_F(LocalInfo, KeepsOneConnectionPerServiceUntil300SecondsAfterItsLastUse) {
    Declare("gpu", "1");
    Declare("disk", "1", "Store");
    Declare("fan", "1", "Facts", "com.other");
    StartApp();
    EXPECT_EQ(Ask({"cpu", "gpu"}), "cpu=app:cpu gpu=app:gpu ");
    EXPECT_EQ(device.pool.Size(), 1U);
    device.time.At(200s, [this] { EXPECT_EQ(Ask({"gpu"}), "gpu=app:gpu "); });
    device.time.At(499s, [this] { ExpectHasNot("DisconnectAbility(known)"); });
    device.pool.RunNext();
    EXPECT_EQ(device.time.Elapsed(), 500s);
    EXPECT_EQ(device.journal.Calls().back(), "DisconnectAbility(known)");
    ExpectCount(CONNECT, 1);

    device.journal.Clear();
    StartApp();
    EXPECT_EQ(Ask({"cpu"}), "cpu=app:cpu ");  // forgotten, so made anew
    StartApp();
    EXPECT_EQ(Ask({"disk"}), "disk=app:disk ");
    ExpectCount(CONNECT, 1);
    ExpectCount("ConnectAbility(com.app, Store, -1)", 1);
    StartApp();
    EXPECT_EQ(Ask({"fan"}), "fan=app:fan ");
    ExpectCount("ConnectAbility(com.other, Facts, -1)", 1);
    EXPECT_EQ(device.pool.Size(), 3U);
}

TEST_F(LocalInfo, ReconnectsToAServiceThatDiedWithoutPostponingItsClose) {
    StartApp();
    Ask({"cpu"});
    device.time.At(200s, [this] {
        app->Die();
        StartApp();
        device.journal.Clear();
        EXPECT_EQ(Ask({"cpu"}), "cpu=app:cpu ");
        ExpectHas("I Collection: abilityConnectionImps_ find imp but no connection, reconnect");
        ExpectCalls({CONNECT, "SendRequest(app, 31, 0, 8)"});
    });
    device.pool.RunNext();
    EXPECT_EQ(device.time.Elapsed(), 300s);
    EXPECT_EQ(device.journal.Calls().back(), "DisconnectAbility(known)");
}

TEST_F(LocalInfo, OfAServiceThatNeverConnectsIsEmptyAndItsConnectionForgottenAndMadeAnew) {
    device.apps.codes["ConnectAbility"] = 9;
    EXPECT_EQ(Ask({"cpu"}), "cpu= ");
    EXPECT_EQ(device.time.Elapsed(), 500ms);
    ExpectHas("I Collection: add async result = 1", "I Collection: abilityConnectionImps_ find no imp, rebuid");
    device.journal.Clear();
    InfoCollectionManager::GetInstance()->DisconnectService("com.app", "Facts", "com.app&Facts");
    ExpectLinesOf("DisconnectService",
        {"I Collection: DisconnectService, start",
            "I Collection: DisconnectService, bundleName:com.app, serviceName:Facts",
            "I Collection: DisconnectService check if connected: 0",
            "E Collection: DisconnectService find no connection for com.app & Facts"});
    EXPECT_TRUE(device.journal.Calls().empty());
    EXPECT_EQ(device.time.Elapsed(), 300s + 500ms);
    device.pool.RunNext();
    ExpectLast("E Collection: cannot find serviceKey");
    EXPECT_EQ(device.time.Elapsed(), 600s + 500ms);  // slept before it looked
    device.pool.refuses = true;
    StartApp();
    EXPECT_EQ(Ask({"cpu"}), "cpu=app:cpu ");
    ExpectHas("I Collection: add async result = 0");
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
