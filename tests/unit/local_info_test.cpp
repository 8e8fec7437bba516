#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/info_collection_manager.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class LocalInfo : public Testing::LibraryTest {
protected:
    // An app that answers the item with "app:" and its name.
    void Declare(const std::string& name, const std::string& code, const std::string& service = "Facts") {
        AppInfoCollection::GetInstance()->ParseStrToJson(R"({"static_info":{},"dynamic_info":[{")" + name +
                R"(":{"serviceExtensionAbilityName":")" + service + R"(","commandCode":")" + code +
                R"(","variable":"var","dataShareUri":"uri"}}]})",
            "com.app");
        device.journal.Clear();
    }
    sptr<Testing::FakeRemote> App() {
        return device.MakeRemote("app", [](uint32_t, MessageParcel& data, MessageParcel& reply) {
            reply.WriteUint32(0);
            reply.WriteString16(u"app:" + data.ReadString16());
            return 0;
        });
    }
    // The platform starts the app as soon as the library waits for it.
    void StartApp() {
        device.time.At(0s, [this] { device.apps.Connect(App()); });
    }

    std::string Ask(std::vector<std::string> names) {
        std::unordered_map<std::string, std::string> result;
        InfoCollectionManager::GetInstance()->GetLocalDeviceDynamicInfo(names, result);
        std::string text;
        for (const auto& [name, value] : std::map(result.begin(), result.end())) {
            text += name + "=" + value + " ";
        }
        return text;
    }
    size_t CountCalls(const std::string& call) const { return device.journal.Count(call); }
    size_t Connects() const { return CountCalls("ConnectAbility(com.app, Facts, -1)"); }
    size_t Disconnects() const { return CountCalls("DisconnectAbility(known)"); }
};

TEST_F(LocalInfo, ComesFromTheAppThatDeclaredItAndOnlyElseFromASystemService) {
    Declare("both", "ff");
    RequestSAManager::GetInstance()->SetDynamicMapBySa(5, 7, u"I", {"both", "kernel"});
    device.systemAbilities.running[5] = device.MakeRemote("service", [](auto&&, auto&&, MessageParcel& reply) {
        reply.WriteString(R"({"both":{"value":"service"},"kernel":{"value":"6.1"}})");
        return 0;
    });
    StartApp();
    device.journal.Clear();
    EXPECT_EQ(Ask({"both", "nobody", "kernel", "both"}), "both=app:both kernel=6.1 nobody= ");
    std::vector<std::string> story;
    for (const auto& entry : device.journal.Entries()) {
        if (!entry.isLog || entry.text.find("info") != std::string::npos ||
            entry.text.find("dynamic") != std::string::npos) {
            story.push_back(entry.text);
        }
    }
    const std::string asked = "SendRequest(app, 255, 0, 8)";
    EXPECT_THAT(story,
        ElementsAre("I Collection: GetLocalDeviceDynamicInfo check dynamicMapByPak",
            "I Collection: dynamic key:both,info:both,bundle:com.app,Facts,Code:ff,var",
            "I Collection: GetLocalDeviceDynamicInfo check dynamicMapBySa",
            "I Collection: dynamic key:both,saId:5,Code:7", "I Collection: dynamic key:kernel,saId:5,Code:7",
            "ConnectAbility(com.app, Facts, -1)", "AddAsynTask(2)", asked,
            "E Collection: info nobody not found in dynamicMapByPak",
            "E Collection: info nobody not found in dynamicMapBySa",
            "E Collection: info kernel not found in dynamicMapByPak", "CheckSystemAbility(5)",
            "SendRequest(service, 7, 0, 8)", "I Collection: info kernel Sa get result 6.1", asked));
}

TEST_F(LocalInfo, WithACodeThatIsNoHexadecimalNumberIsEmptyAndNotAskedFor) {
    Declare("bad", "1G");
    Declare("all bits", "FFFFFFFF");
    StartApp();
    EXPECT_EQ(Ask({"bad"}), "bad= ");
    EXPECT_EQ(Connects(), 1U);
    EXPECT_EQ(Ask({"all bits", "bad"}), "all bits=app:all bits bad= ");
    EXPECT_EQ(CountCalls("SendRequest(app, 4294967295, 0, 8)"), 1U);
    EXPECT_EQ(Connects(), 1U + 0U);
}

TEST_F(LocalInfo, KeepsOneConnectionPerServiceUntil300SecondsAfterItsLastUse) {
    Declare("cpu", "1");
    Declare("gpu", "1");
    Declare("disk", "1", "Store");
    StartApp();
    EXPECT_EQ(Ask({"cpu", "gpu"}), "cpu=app:cpu gpu=app:gpu ");
    EXPECT_EQ(device.pool.Size(), 1U);
    device.time.At(200s, [this] { EXPECT_EQ(Ask({"gpu"}), "gpu=app:gpu "); });
    device.time.At(499s, [this] { EXPECT_EQ(Disconnects(), 0U); });
    device.pool.RunNext();
    EXPECT_EQ(device.time.Elapsed(), 500s);
    EXPECT_EQ(Connects(), 1U);
    EXPECT_EQ(Disconnects(), 1U);
    EXPECT_EQ(device.pool.Size(), 0U);

    device.journal.Clear();
    StartApp();
    EXPECT_EQ(Ask({"cpu"}), "cpu=app:cpu ");  // forgotten, so made anew
    device.apps.Disconnect();
    StartApp();
    EXPECT_EQ(Ask({"disk"}), "disk=app:disk ");
    EXPECT_THAT(device.journal.Calls(),
        ElementsAre("ConnectAbility(com.app, Facts, -1)", "AddAsynTask(2)", "SendRequest(app, 1, 0, 8)",
            "ConnectAbility(com.app, Store, -1)", "AddAsynTask(2)", "SendRequest(app, 1, 0, 8)"));
}

TEST_F(LocalInfo, ReconnectsToAServiceThatDiedWithoutPostponingItsClose) {
    Declare("cpu", "1");
    const auto app = App();
    device.time.At(0s, [&] { device.apps.Connect(app); });
    Ask({"cpu"});
    device.time.At(200s, [&] {
        app->Die();
        device.time.At(0s, [this] { device.apps.Connect(App()); });
        device.journal.Clear();
        EXPECT_EQ(Ask({"cpu"}), "cpu=app:cpu ");
        EXPECT_TRUE(device.journal.Has("I Collection: abilityConnectionImps_ find imp but no connection, reconnect"));
        EXPECT_THAT(
            device.journal.Calls(), ElementsAre("ConnectAbility(com.app, Facts, -1)", "SendRequest(app, 1, 0, 8)"));
    });
    device.pool.RunNext();
    EXPECT_EQ(device.time.Elapsed(), 300s);
    EXPECT_EQ(Disconnects(), 1U);
}

TEST_F(LocalInfo, OfAServiceThatNeverConnectsIsEmptyAndItsConnectionForgotten) {
    Declare("cpu", "1");
    device.apps.connectResult = 9;
    device.journal.Clear();
    EXPECT_EQ(Ask({"cpu"}), "cpu= ");
    EXPECT_EQ(device.time.Elapsed(), 500ms);
    EXPECT_THAT(device.journal.Calls(), ElementsAre("ConnectAbility(com.app, Facts, -1)", "AddAsynTask(2)"));
    EXPECT_TRUE(device.journal.Has("I Collection: add async result = 1"));
    EXPECT_TRUE(device.journal.Has("I Collection: abilityConnectionImps_ find no imp, rebuid"));

    device.journal.Clear();
    device.pool.RunNext();
    EXPECT_THAT(device.journal.All(),
        ElementsAre("I Collection: DisconnectService, start",
            "I Collection: DisconnectService, bundleName:com.app, serviceName:Facts",
            "I Collection: DisconnectService check if connected: 0",
            "E Collection: DisconnectService find no connection for com.app & Facts"));
    EXPECT_EQ(device.time.Elapsed(), 300s + 500ms);
    InfoCollectionManager::GetInstance()->DisconnectService("com.app", "Facts", "com.app&Facts");
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: cannot find serviceKey");
}

TEST_F(LocalInfo, IsAnsweredAlsoWhenThePoolRefusesToCloseTheConnectionLater) {
    Declare("cpu", "1");
    device.pool.refuses = true;
    StartApp();
    EXPECT_EQ(Ask({"cpu"}), "cpu=app:cpu ");
    EXPECT_TRUE(device.journal.Has("I Collection: add async result = 0"));
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
