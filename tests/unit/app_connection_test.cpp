#include <thread>

#include "plugin/info_collection/ability_connection_imp.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class AppConnection : public Testing::LibraryTest {
protected:
    AppConnection() { connection->ConnectAbility("com.app", "Facts"); }

    sptr<Testing::FakeRemote> Service(uint32_t errorCode = 0, const std::u16string& value = u"v") {
        return device.MakeRemote("Facts", [=](uint32_t, MessageParcel& data, MessageParcel& reply) {
            EXPECT_EQ(data.ReadString16(), u"größe");  // the name and nothing else, not even a token
            EXPECT_EQ(data.GetReadableBytes(), 0U);
            reply.WriteUint32(errorCode);
            reply.WriteString16(value);
            return 0;
        });
    }
    std::string Query() { return connection->QueryDeviceDynamicInfo(-1, "größe"); }
    std::string State() {
        return std::string(connection->IsProxyNull() ? "no proxy" : "proxy") +
            (connection->IsServiceConnected() ? ", connected" : ", not connected");
    }

    sptr<AbilityConnectionImp> connection = MakeSptr<AbilityConnectionImp>();
};

TEST_F(AppConnection, IsAskedForAndEndedThroughThePlatformAndAnswersWithItsResult) {
    device.apps.connectResult = 29;
    EXPECT_EQ(connection->ConnectAbility("com.app", "Facts"), 29);
    EXPECT_EQ(connection->DisconnectAbility("com.app", "Facts"), 0);
    const std::string begin = "I Collection: ConnectAbility begin, bundleName:com.app, serviceName:Facts";
    EXPECT_THAT(device.journal.All(),
        ElementsAre(begin, "ConnectAbility(com.app, Facts, -1)", begin, "ConnectAbility(com.app, Facts, -1)",
            "I Collection: DisconnectAbility begin, bundleName:com.app, serviceName:Facts",
            "DisconnectAbility(known)"));
    EXPECT_EQ(State(), "no proxy, not connected");
}

TEST_F(AppConnection, IsMadeByAnyResultThatBringsAServiceAndKeptByOneThatDoesNot) {
    const auto service = Service();
    device.journal.Clear();
    device.apps.Connect(service, 5);
    device.apps.Connect(nullptr, -1);
    const std::string done = "I Collection: OnAbilityConnectDone, bundleName:com.app, abilityName:Facts, reusultCode:";
    EXPECT_THAT(device.journal.All(),
        ElementsAre(done + "5", done + "-1", "E Collection: OnAbilityConnectDone, failed get the remoteObject"));
    EXPECT_EQ(State(), "proxy, connected");
    EXPECT_EQ(service->RecipientCount(), 1U);
}

TEST_F(AppConnection, AsksForOneItemAndReturnsItsValueWhateverTheErrorCode) {
    struct Row {
        sptr<Testing::FakeRemote> service;
        std::string value;
        std::vector<std::string> lines;
    };
    const auto refuses = device.MakeRemote("Facts", [](auto&&...) { return 3; });
    const auto saysNothing = device.MakeRemote("Facts", [](auto&&...) { return 0; });
    const std::vector<Row> rows{
        {Service(0, u"größer"), "größer", {"I Collection: QueryDeviceInfo errorCode:0, value:größer"}},
        {Service(4294967295), "v",
            {"E Collection: QueryDeviceDynamicInfo erroCode is:-1",
                "I Collection: QueryDeviceInfo errorCode:-1, value:v"}},
        {saysNothing, "", {"I Collection: QueryDeviceInfo errorCode:0, value:"}},
        {refuses, "", {"E Collection: QueryDeviceDynamicInfo SendRequest failed"}},
    };
    for (const Row& row : rows) {
        device.apps.Connect(row.service);
        device.journal.Clear();
        EXPECT_EQ(Query(), row.value);
        std::vector<std::string> all{"I Collection: QueryDeviceDynamicInfo begin, key:größe, serviceName:Facts",
            "SendRequest(Facts, 4294967295, 0, 8)"};
        all.insert(all.end(), row.lines.begin(), row.lines.end());
        EXPECT_EQ(device.journal.All(), all);
    }
}

TEST_F(AppConnection, ThatIsStillBeingMadeIsWaitedForUpToHalfASecond) {
    device.time.At(300ms, [this] { device.apps.Connect(nullptr, -1); });
    EXPECT_EQ(Query(), "");
    EXPECT_EQ(device.time.Elapsed(), 500ms);
    EXPECT_TRUE(device.journal.Has("E Collection: servie proxy_ is nullptr, wait ....."));
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: servie proxy_ is nullptr, return");
    EXPECT_EQ(device.journal.Count("SendRequest(Facts, 4294967295, 0, 8)"), 0U);

    device.time.At(500ms, [this] { device.apps.Connect(Service()); });
    EXPECT_EQ(Query(), "v");  // in the last moment
    EXPECT_EQ(device.time.Elapsed(), 1s);
    EXPECT_EQ(Query(), "v");
    EXPECT_EQ(device.time.Elapsed(), 1s);
}

TEST_F(AppConnection, IsLostWithItsServiceAndMadeAgainToTheNext) {
    const auto first = Service();
    device.apps.Connect(first);
    device.journal.Clear();
    first->Die();
    EXPECT_EQ(State(), "no proxy, not connected");
    EXPECT_THAT(device.journal.All(),
        ElementsAre("E Collection: AbilityConnectionDeathRecipient::OnRemoteDied",
            "I Collection: AbilityConnectionDeathRecipient handler"));

    const auto second = Service();
    device.apps.Connect(second);
    device.apps.Connect(Service());
    second->Die();  // known of only now
    EXPECT_EQ(State(), "proxy, connected");
    EXPECT_EQ(Query(), "v");

    second->Die();
    device.apps.Connect(second);  // dead before it could be watched
    EXPECT_EQ(State(), "no proxy, not connected");
}

TEST_F(AppConnection, EndsWithThePlatformsWordAndIsWatchedNoLonger) {
    const auto service = Service();
    device.apps.Connect(service);
    device.journal.Clear();
    device.apps.Disconnect();
    EXPECT_EQ(State(), "no proxy, not connected");
    EXPECT_EQ(service->RecipientCount(), 0U);
    device.apps.Disconnect();
    const std::string done =
        "I Collection: OnAbilityDisconnectDone, bundleName:com.app, abilityName:Facts, reusultCode:0";
    EXPECT_THAT(device.journal.All(), ElementsAre(done, done, "E Collection: proxy is nullptr"));
}

TEST_F(AppConnection, IsNotKeptAliveByTheWatchOverItsService) {
    const auto service = Service();
    device.apps.Connect(service);
    const wptr<AbilityConnectionImp> weak(connection);
    connection = MakeSptr<AbilityConnectionImp>();
    connection->ConnectAbility("com.app", "Other");  // the platform lets go of the first
    EXPECT_FALSE(weak.promote());
    service->Die();
    MakeSptr<AbilityConnectionDeathRecipient>(nullptr)->OnRemoteDied(nullptr);
    EXPECT_EQ(device.journal.Lines().back(), "E Collection: OnRemoteDied deathHandler_ is null");
}

TEST_F(AppConnection, WakesQueriesOfOtherThreadsAsSoonAsItIsMade) {
    device.time.UseRealTime();
    for (int round = 0; round < 50; ++round) {
        const TimeSource::TimePoint begin = device.time.Now();
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([this] { EXPECT_EQ(Query(), "v"); });
        }
        device.apps.Connect(Service());
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_LT(device.time.Now() - begin, 500ms);  // a lost wake-up shows at the deadline
        device.apps.Disconnect();
    }
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
