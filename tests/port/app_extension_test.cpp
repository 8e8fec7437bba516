// Connections to a real extension process on a real bus.
#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <iterator>

#include "linux/apps/ability_manager.h"
#include "linux/apps/answer_breaker.h"
#include "linux/apps/bundle_manager.h"
#include "linux/bus/bus_wire.h"
#include "linux/bus/listener_object.h"
#include "platform/ipc/string_conversion.h"
#include "tests/port/port_test.h"

namespace ZYNE::Linux {
namespace {

constexpr int32_t CURRENT_USER = -1;
constexpr uint32_t APP_CODE = 0x1f;
constexpr char PROVIDER_NAME[] = "com.zyne.extension.test_2eapp.Provider";  // on the bus
constexpr std::chrono::milliseconds ANSWER_TIME{500};

class Connection final : public AbilityConnectionStub {
public:
    void OnAbilityConnectDone(const ElementName&, const sptr<IRemoteObject>& remoteObject, int) override {
        remotes_.Add(remoteObject);
    }
    void OnAbilityDisconnectDone(const ElementName&, int resultCode) override {
        if (onDisconnect) {
            onDisconnect(resultCode);
        }
        reasons_.Add(resultCode);
    }

    sptr<IRemoteObject> AwaitRemote(size_t connects = 1) const {
        return remotes_.Reaches(connects) ? remotes_.All().back() : nullptr;
    }
    bool AwaitDisconnect(size_t disconnects = 1) const { return reasons_.Reaches(disconnects); }

    std::function<void(int resultCode)> onDisconnect;

private:
    Told<sptr<IRemoteObject>> remotes_;
    Told<int> reasons_;
};

class Death final : public IRemoteObject::DeathRecipient {
public:
    void OnRemoteDied(const wptr<IRemoteObject>&) override { hasCome = true; }
    std::atomic<bool> hasCome = false;
};

// Returns when every thread of the process stands still.
void Freeze(const std::string& pid) {
    EXPECT_EQ(kill(std::stoi(pid), SIGSTOP), 0);
    EXPECT_TRUE(Eventually([&] {
        return std::ranges::all_of(fs::directory_iterator("/proc/" + pid + "/task"), [](const auto& thread) {
            std::ifstream stat(thread.path() / "stat");
            return std::string(std::istreambuf_iterator<char>(stat), {}).find(") T ") != std::string::npos;
        });
    }));
}
void Thaw(const std::string& pid) {
    EXPECT_EQ(kill(std::stoi(pid), SIGCONT), 0);
}

class AppExtension : public DeviceTest {
protected:
    AppExtension() {
        Install("test.app", R"("name": "Provider", "exec": [")" TEST_PROVIDER R"(", "app"])");
        Install("slow.app",
            R"("name": "Never", "exec": ["/bin/sh", "-c", "until [ -e ')" + Gate().native() +
                R"(' ]; do sleep 0.1; done; exit 1"])");
        device.apps.SetAnswerTime(ANSWER_TIME);
        device.bundles->LoadDirectory(directory / "apps");
        device.bus.Start({directory / "run", device.bundles->GetCatalogue()->GetServices(), {}});
    }

    fs::path Gate() const { return directory / "gate"; }
    int32_t Connect(const sptr<Connection>& connection, const std::string& extension = "Provider",
        const std::string& bundle = "test.app") {
        Want want;
        want.SetElementName(bundle, extension);
        return device.apps.ConnectAbility(want, connection, CURRENT_USER);
    }
    static int32_t Send(
        const sptr<IRemoteObject>& remote, const std::string& name, MessageParcel& reply, int waitSeconds = 8) {
        MessageParcel data;
        MessageOption option(MessageOption::SYNCHRONOUS, waitSeconds);
        data.WriteString16(Str8ToStr16(name));
        return remote->SendRequest(APP_CODE, data, reply, option);
    }
    // Empty when it does not answer.
    static std::string Ask(const sptr<IRemoteObject>& remote, const std::string& name) {
        MessageParcel reply;
        if (Send(remote, name, reply) != 0) {
            return "";
        }
        reply.ReadUint32();
        return Str16ToStr8(reply.ReadString16());
    }
    // The answer of one that may be slow.
    static std::string Await(const sptr<IRemoteObject>& remote, const std::string& name) {
        std::string answer;
        EXPECT_TRUE(Eventually([&] { return !(answer = Ask(remote, name)).empty(); }));
        return answer;
    }

private:
    void Install(const std::string& bundle, const std::string& extension) const {
        Write(directory / "apps" / bundle / "manifest.json",
            R"({"bundleName": ")" + bundle + R"(", "extensions": [{)" + extension + "}]}");
    }
};

TEST_F(AppExtension, RunsUntilItsLastConnectionHasGoneAndIsStartedAnewForTheNext) {
    EXPECT_EQ(Connect(MakeSptr<Connection>(), "NoSuch"), AbilityManager::NOT_INSTALLED);
    EXPECT_EQ(Connect(nullptr), AbilityManager::NO_CONNECTION);
    const auto first = MakeSptr<Connection>();
    const auto second = MakeSptr<Connection>();
    ASSERT_EQ(Connect(first), 0);
    ASSERT_EQ(Connect(second), 0);
    const std::string pid = Ask(first->AwaitRemote(), "app.pid");
    EXPECT_EQ(Ask(second->AwaitRemote(), "app.pid"), pid);
    const auto death = MakeSptr<Death>();
    EXPECT_TRUE(second->AwaitRemote()->AddDeathRecipient(death));

    EXPECT_EQ(device.apps.DisconnectAbility(first), 0);
    EXPECT_TRUE(first->AwaitDisconnect());
    EXPECT_EQ(Ask(second->AwaitRemote(), "app.pid"), pid);

    EXPECT_EQ(device.apps.DisconnectAbility(second), 0);
    EXPECT_TRUE(second->AwaitDisconnect());
    EXPECT_TRUE(Eventually([&] { return death->hasCome.load(); }));
    EXPECT_FALSE(second->AwaitRemote()->AddDeathRecipient(death));

    const auto third = MakeSptr<Connection>();
    ASSERT_EQ(Connect(third), 0);
    const std::string next = Ask(third->AwaitRemote(), "app.pid");
    EXPECT_NE(next, "");
    EXPECT_NE(next, pid);
}

TEST_F(AppExtension, ThatIsKilledIsReportedAsGoneAndCanBeConnectedToAgainAtOnce) {
    const auto connection = MakeSptr<Connection>();
    int reason = 0;
    connection->onDisconnect = [&](int resultCode) {
        reason = resultCode;
        EXPECT_EQ(Connect(connection), 0);
    };
    ASSERT_EQ(Connect(connection), 0);
    const sptr<IRemoteObject> killed = connection->AwaitRemote();
    const std::string pid = Ask(killed, "app.pid");
    ASSERT_EQ(kill(std::stoi(pid), SIGKILL), 0);

    const sptr<IRemoteObject> next = connection->AwaitRemote(2);
    EXPECT_EQ(reason, Extension::DIED);
    EXPECT_EQ(Ask(killed, "app.pid"), "");
    EXPECT_NE(Ask(next, "app.pid"), pid);
    connection->onDisconnect = nullptr;
    EXPECT_EQ(device.apps.DisconnectAbility(connection), 0);
    EXPECT_TRUE(connection->AwaitDisconnect(2));
    EXPECT_EQ(device.apps.DisconnectAbility(connection), AbilityManager::NOT_CONNECTED);
}

TEST_F(AppExtension, ThatHangsIsAskedSeldomAndKilledAndThatIsSlowOnceIsNot) {
    const auto connection = MakeSptr<Connection>();
    ASSERT_EQ(Connect(connection), 0);
    const sptr<IRemoteObject> hung = connection->AwaitRemote();
    const std::string pid = Await(hung, "app.pid");
    MessageParcel reply;
    EXPECT_EQ(Send(hung, "app.slow", reply), IRemoteObject::TIMED_OUT);
    EXPECT_TRUE(Eventually([&] { return Ask(hung, "app.pid") == pid; }));

    Freeze(pid);
    size_t refusals = 0;
    for (int32_t result = 0; result != IRemoteObject::DEAD; ++refusals) {
        result = Send(hung, "app.pid", reply);
        ASSERT_THAT(result, ::testing::AnyOf(IRemoteObject::TIMED_OUT, IRemoteObject::DEAD));
    }
    EXPECT_GT(refusals, 3u + 1) << "nobody is refused at once between the three that miss their time";
    EXPECT_TRUE(connection->AwaitDisconnect());
    ASSERT_EQ(Connect(connection), 0);
    const std::string next = Await(connection->AwaitRemote(2), "app.pid");
    EXPECT_NE(next, "");
    EXPECT_NE(next, pid);
    EXPECT_EQ(device.apps.DisconnectAbility(connection), 0);
    EXPECT_TRUE(connection->AwaitDisconnect(2));
}

TEST_F(AppExtension, ThatDoesNotStartHasAStandInUntilAnotherTryIsDue) {
    const auto first = MakeSptr<Connection>();
    const auto second = MakeSptr<Connection>();
    const auto third = MakeSptr<Connection>();
    ASSERT_EQ(Connect(first, "Never", "slow.app"), 0);
    ASSERT_EQ(Connect(second, "Never", "slow.app"), 0);
    const sptr<IRemoteObject> standIn = first->AwaitRemote();
    EXPECT_EQ(second->AwaitRemote(), standIn);
    ASSERT_EQ(Connect(third, "Never", "slow.app"), 0);
    EXPECT_EQ(third->AwaitRemote(), standIn);
    MessageParcel reply;
    EXPECT_EQ(Send(standIn, "x", reply), IRemoteObject::DEAD);
    const auto death = MakeSptr<Death>();
    EXPECT_TRUE(standIn->AddDeathRecipient(death));

    Write(Gate(), "");
    EXPECT_EQ(third->AwaitRemote(2), standIn) << "it failed a moment ago";
    EXPECT_FALSE(death->hasCome);
    EXPECT_TRUE(Eventually([&] { return death->hasCome.load(); }));
    EXPECT_FALSE(standIn->AddDeathRecipient(death));
    ASSERT_EQ(Connect(first, "Never", "slow.app"), 0);
    EXPECT_NE(first->AwaitRemote(3), standIn);
}

TEST_F(AppExtension, ThatListensAndIsFrozenKeepsNobodyWaitingTwiceAndIsDroppedUntilItRegistersAnew) {
    std::vector<std::function<void()>> posted;
    const auto runPosted = [&] {
        for (const auto& task : std::exchange(posted, {})) {
            task();
        }
    };
    const auto post = [&](std::function<void()> task) {
        posted.push_back(std::move(task));
        return true;
    };
    EventLoop loop("test");
    BusClient client(loop, device.bus.GetAddress(), post, [] {});
    std::string error;
    const std::string process = client.StartService(PROVIDER_NAME, error);
    const auto listen = [&] {
        return client.GetListener(process, BusWire::DEFAULT_PATH);
    };
    const sptr<RemoteObject> first = listen();
    const std::string pid = Ask(client.GetRemote(process, BusWire::DEFAULT_PATH), "app.pid");
    MessageParcel reply;
    const auto freeze = [&](const sptr<RemoteObject>& listener) {
        Freeze(pid);
        EXPECT_EQ(Send(listener, "app.pid", reply), IRemoteObject::TIMED_OUT);
        EXPECT_EQ(Send(listener, "app.pid", reply), IRemoteObject::OK) << "it waits in a queue";
    };
    freeze(first);
    Thaw(pid);
    runPosted();
    EXPECT_FALSE(first->IsDead());
    Freeze(pid);
    EXPECT_EQ(Send(first, "app.pid", reply, 1), IRemoteObject::OK);
    const auto death = MakeSptr<Death>();
    EXPECT_TRUE(first->AddDeathRecipient(death));
    testing::internal::CaptureStderr();
    runPosted();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("listens and does not answer"));
    EXPECT_EQ(Send(first, "app.pid", reply), IRemoteObject::DEAD);
    runPosted();
    EXPECT_TRUE(death->hasCome);

    const sptr<RemoteObject> second = listen();
    freeze(second);
    for (size_t i = 1; i < ListenerObject::MAX_WAITING; ++i) {
        EXPECT_EQ(Send(second, "app.pid", reply), IRemoteObject::OK);
    }
    EXPECT_FALSE(second->IsDead());
    EXPECT_EQ(Send(second, "app.pid", reply), IRemoteObject::TIMED_OUT) << "too many gather";
    EXPECT_TRUE(second->IsDead());
    Thaw(pid);
    EXPECT_TRUE(Eventually([&] { return Ask(listen(), "app.pid") == pid; }));
}

TEST(AnswerBreaker, CountsRequestsThatWereUnderWayTogetherOnceAndStartsAnewAfterAnAnswer) {
    using namespace std::chrono_literals;
    const AnswerBreaker::TimePoint start{1h};
    AnswerBreaker breaker(500ms);
    EXPECT_TRUE(breaker.MayAsk(start));
    EXPECT_FALSE(breaker.TakeMiss(start, start + 500ms));
    for (int more = 0; more < 5; ++more) {
        EXPECT_FALSE(breaker.TakeMiss(start + 499ms, start + 999ms));
    }
    EXPECT_FALSE(breaker.MayAsk(start + 1499ms));
    EXPECT_TRUE(breaker.MayAsk(start + 1500ms));
    EXPECT_FALSE(breaker.TakeMiss(start + 1500ms, start + 2s));
    breaker.TakeAnswer();
    EXPECT_TRUE(breaker.MayAsk(start + 2s));
    EXPECT_FALSE(breaker.TakeMiss(start + 2s, start + 3s));
    EXPECT_FALSE(breaker.TakeMiss(start + 4s, start + 5s));
    EXPECT_TRUE(breaker.TakeMiss(start + 6s, start + 7s));
    EXPECT_FALSE(breaker.TakeMiss(start + 8s, start + 9s));
}

}  // namespace
}  // namespace ZYNE::Linux
