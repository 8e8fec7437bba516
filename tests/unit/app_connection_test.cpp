#include <thread>

#include "plugin/info_collection/ability_connection_imp.h"
#include "tests/support/scarce_memory.h"
#include "tests/support/second_thread.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

class AppConnection : public Testing::LibraryTest {
protected:
    AppConnection() { connection->ConnectAbility("com.app", "Facts"); }

    sptr<Testing::FakeRemote> Service(uint32_t errorCode = 0, const std::u16string& value = u"v") {
        return device.MakeRemote("Facts", [=](uint32_t, MessageParcel& data, MessageParcel& reply) {
            EXPECT_EQ(data.ReadString16(), u"größe");
            EXPECT_EQ(data.GetReadableBytes(), 0U);
            reply.WriteUint32(errorCode);
            reply.WriteString16(value);
            return 0;
        });
    }
    std::string Query() { return connection->QueryDeviceDynamicInfo(-1, "größe"); }
    bool IsConnected() {
        EXPECT_NE(connection->IsProxyNull(), connection->IsServiceConnected());
        return connection->IsServiceConnected();
    }

    sptr<AbilityConnectionImp> connection = MakeSptr<AbilityConnectionImp>();
};

TEST_F(AppConnection, IsMadeByAnyResultThatBringsAServiceAndEndsWithThePlatformsWord) {
    device.apps.codes["ConnectAbility"] = 29;
    device.journal.Clear();
    EXPECT_EQ(connection->ConnectAbility("com.app", "Facts"), 29);
    device.apps.Connect(nullptr, 0);
    EXPECT_FALSE(IsConnected());
    const auto service = Service();
    device.apps.Connect(service, 5);
    device.apps.Connect(nullptr, -1);
    EXPECT_EQ(connection->DisconnectAbility("com.app", "Facts"), 0);
    EXPECT_TRUE(IsConnected());
    EXPECT_EQ(service->RecipientCount(), 1U);
    device.apps.Disconnect();
    EXPECT_FALSE(IsConnected());
    EXPECT_EQ(service->RecipientCount(), 0U);
    device.apps.Disconnect(-3);
    const std::string names = ", bundleName:com.app, abilityName:Facts, reusultCode:";
    const std::string made = "I Collection: OnAbilityConnectDone" + names;
    const std::string ended = "I Collection: OnAbilityDisconnectDone" + names;
    const std::string failed = "E Collection: OnAbilityConnectDone, failed get the remoteObject";
    ExpectAll({"I Collection: ConnectAbility begin, bundleName:com.app, serviceName:Facts",
        "ConnectAbility(com.app, Facts, -1)", made + "0", failed, made + "5", made + "-1", failed,
        "I Collection: DisconnectAbility begin, bundleName:com.app, serviceName:Facts", "DisconnectAbility(known)",
        ended + "0", ended + "-3", "E Collection: proxy is nullptr"});
}

TEST_F(AppConnection, AsksForOneItemAndReturnsItsValueWhateverTheErrorCode) {
    const auto refuses = device.MakeRemote("Facts", [](auto&&...) { return 3; });
    const auto saysNothing = device.MakeRemote("Facts");
    const std::string info = "I Collection: QueryDeviceInfo errorCode:";
    struct Row {
        sptr<Testing::FakeRemote> service;
        std::string value;
        std::vector<std::string> lines;
    };
    const std::vector<Row> rows{{Service(0, u"größer"), "größer", {info + "0, value:größer"}},
        {Service(6), "v", {"E Collection: QueryDeviceDynamicInfo erroCode is:6", info + "6, value:v"}},
        {saysNothing, "", {info + "0, value:"}},
        {refuses, "", {"E Collection: QueryDeviceDynamicInfo SendRequest failed"}}};
    for (const Row& row : rows) {
        device.apps.Connect(row.service);
        device.journal.Clear();
        EXPECT_EQ(Query(), row.value);
        std::vector<std::string> all{"I Collection: QueryDeviceDynamicInfo begin, key:größe, serviceName:Facts",
            "SendRequest(Facts, 4294967295, 0, 8)"};
        all.insert(all.end(), row.lines.begin(), row.lines.end());
        ExpectAll(all);
    }
}

TEST_F(AppConnection, ThatIsStillBeingMadeIsWaitedForUpToHalfASecond) {
    device.time.At(300ms, [this] { device.apps.Connect(nullptr, -1); });
    EXPECT_EQ(Query(), "");
    EXPECT_EQ(device.time.Elapsed(), 500ms);
    ExpectHas("E Collection: servie proxy_ is nullptr, wait .....");
    ExpectLast("E Collection: servie proxy_ is nullptr, return");
    device.time.At(500ms, [this] { device.apps.Connect(Service()); });
    EXPECT_EQ(Query(), "v");  // in the last moment
    EXPECT_EQ(Query(), "v");
    EXPECT_EQ(device.time.Elapsed(), 1s);
}

TEST_F(AppConnection, IsLostWithItsServiceButNotWithAnEarlierOne) {
    const auto first = Service();
    const auto second = Service();
    device.apps.Connect(first);
    device.apps.Connect(second);
    device.apps.Connect(second);
    device.journal.Clear();
    first->Die();  // nobody watches it any more
    EXPECT_TRUE(IsConnected());
    second->Die();
    EXPECT_FALSE(IsConnected());
    const std::string died = "E Collection: AbilityConnectionDeathRecipient::OnRemoteDied";
    const std::string handler = "I Collection: AbilityConnectionDeathRecipient handler";
    EXPECT_THAT(device.journal.All(), ElementsAre(died, handler)) << "watched once";
    device.apps.Connect(second);  // dead before it could be watched
    EXPECT_FALSE(IsConnected());
    device.apps.Connect(Service());
    EXPECT_EQ(Query(), "v");
}

TEST_F(AppConnection, OutlivesALateWordAboutAnEarlierServiceAndIsNotWatchedWithoutMemory) {
    const auto first = Service();
    const auto second = Service();
    first->AddDeathRecipient(
        MakeSptr<AbilityConnectionDeathRecipient>([this, &second] { device.apps.Connect(second); }));
    device.apps.Connect(first);
    first->Die();  // the connection hears of it when the second is there
    ExpectCount("I Collection: AbilityConnectionDeathRecipient handler", 1);
    EXPECT_TRUE(IsConnected());
    const std::string failed = "E Collection: create AbilityConnectionDeathRecipient failed";
    ExpectHasNot(failed);
    const auto third = Service();
    const Testing::ScarceMemory scarce;
    device.apps.Connect(third);
    ExpectLast(failed);
    EXPECT_TRUE(IsConnected());
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
    ExpectLast("E Collection: OnRemoteDied deathHandler_ is null");
}

TEST_F(AppConnection, IsNotMadeWhileAQueryIsAboutToWaitForIt) {
    Testing::SecondThread other;
    device.time.beforeWait = [&] {
        EXPECT_TRUE(other.Waits([this] { device.apps.Connect(Service()); }));
    };
    EXPECT_EQ(Query(), "v");
}

TEST_F(AppConnection, WakesQueriesOfOtherThreadsAsSoonAsItIsMade) {
    device.time.UseRealTime();
    for (int round = 0; round < 50; ++round) {
        std::vector<std::thread> threads(3);
        for (std::thread& thread : threads) {
            thread = std::thread([this] { EXPECT_EQ(Query(), "v"); });
        }
        device.apps.Connect(Service());
        for (std::thread& thread : threads) {
            thread.join();
        }
        device.apps.Disconnect();
    }
    EXPECT_EQ(device.time.ExpiredWaits(), 0);  // one for each wake-up that was lost
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
