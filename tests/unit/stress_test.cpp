// The library among many threads, mostly on the real clock: what ThreadSanitizer is to look at.
#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "platform/host/global_variables.h"
#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/info_collection_manager.h"
#include "plugin/info_collection/info_collection_process.h"
#include "plugin/info_collection/info_collection_service.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "plugin/key_mouse/key_mouse_listener_set.h"
#include "tests/support/key_mouse_test.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace GloableVariables;

// Nothing is logged while one lives: the journal's lock would put everything in order.
class Threads {
public:
    using Job = std::function<void(int round)>;

    Threads() { LogService::minLevel = LogLevel{7}; }
    ~Threads() { LogService::minLevel = LogLevel::INFO; }

    // What Run() runs on threads of their own, which start in this order.
    void Work(int rounds, const Job& job) {
        ++working_;
        bodies_.push_back([=, this] {
            for (int round = 0; round < rounds; ++round) {
                job(round);
            }
            --working_;
        });
    }
    // Until all work is done.
    void Help(const Job& job) {
        bodies_.push_back([=, this] {
            for (int round = 0; working_ > 0; ++round) {
                job(round);
            }
        });
    }
    void Run() {
        std::vector<std::thread> threads(bodies_.begin(), bodies_.end());
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

private:
    std::atomic<int> working_{0};
    std::vector<std::function<void()>> bodies_;
};

class RemoteInfoStress : public Testing::LibraryTest {
protected:
    static constexpr uint32_t FIRST_ID = 1000;
    static constexpr int REQUESTS = 1600;

    // Some threads ask; others keep calling `answer` with each requester's slot, which holds the id of its last
    // request.
    void Run(int requesters, const std::function<void(std::atomic<uint32_t>& id)>& answer) {
        std::vector<std::atomic<uint32_t>> asked(requesters);  // 0: nothing yet
        device.host.nextCollaborationId = FIRST_ID;
        device.host.onRequest = [](const ServiceInfo& sent) {
            *slot_ = std::stoul(sent.collaborationIdStr);
        };
        {
            Threads threads;
            for (std::atomic<uint32_t>& slot : asked) {
                threads.Work(REQUESTS / requesters, [this, &slot](int) {
                    slot_ = &slot;
                    Ask();
                });
            }
            for (int i = 0; i < 3; ++i) {
                threads.Help([&](int) { std::for_each(asked.begin(), asked.end(), answer); });
            }
            threads.Run();
        }
        for (uint32_t id = FIRST_ID; id < device.host.nextCollaborationId + 2; ++id) {  // nothing is left
            device.journal.Clear();
            EXPECT_FALSE(service_.IsCollaborationIdExist(id));
            EXPECT_FALSE(service_.IsValidDynamicInfoResult(id, {}));
            ExpectHas("E Collection: cannot find collaborationId:" + std::to_string(id) + " in ResultList");
        }
    }

    static void Answer(uint32_t id, const char* answer = R"({"a":"1"})") {
        InfoCollectionProcess::GetInstance()->OnDataReceived(id, answer, 9);
    }

    std::atomic<int> answered_{0}, givenUp_{0}, mismatched_{0};
    std::atomic<bool> oneTookTheWholeTime_{false};

private:
    void Ask() {
        DeviceInfo peer("udid", "network", "desk", DeviceType::PC);
        std::vector<DeviceDynamicInfo> records;
        const TimeSource::TimePoint begin = device.time.Now();
        const int32_t code = service_.GetRemoteDeviceDynamicInfo(peer, "me", {"a"}, records);
        if (device.time.Now() - begin >= 5s) {
            oneTookTheWholeTime_ = true;
        }
        EXPECT_TRUE(code == 0 || code == 2201 || code == 2205) << code;
        ASSERT_EQ(records.size(), code == 0 ? 1U : 0U);
        EXPECT_TRUE(records.empty() || records[0].GetKey() + records[0].GetValue() == "a1");
        ++(code == 0 ? answered_ : code == 2201 ? givenUp_ : mismatched_);
    }

    static inline thread_local std::atomic<uint32_t>* slot_ = nullptr;
    InfoCollectionService& service_ = InfoCollectionService::GetInstance();
};

// Few requesters and one answer each: whatever else is stored would wake them too.
TEST_F(RemoteInfoStress, TheOnlyAnswerWakesItsRequester) {
    device.time.UseRealTime();
    Run(2, [](std::atomic<uint32_t>& id) {
        if (const uint32_t once = id.exchange(0)) {
            Answer(once);
        }
    });
    EXPECT_EQ(answered_, REQUESTS);
    EXPECT_FALSE(oneTookTheWholeTime_);  // as after a lost wake-up
}

TEST_F(RemoteInfoStress, AnswersLateDuplicateForeignAndWrongLeaveNothing) {
    device.time.UseRealTime(50000);
    Run(8, [this](std::atomic<uint32_t>& id) {
        Answer(id);
        Answer(id, R"({"b":"2"})");  // may come between test and use
        Answer(device.host.nextCollaborationId + 1);
    });
    EXPECT_GT(givenUp_, 0);
    EXPECT_GT(answered_, 0);
    EXPECT_GT(mismatched_, 0);
}

// So many names that a second answer nearly always comes while the first is being tested.
TEST_F(RemoteInfoStress, NoAnswerTakesTheTestedOnesPlaceBeforeItIsUsed) {
    device.time.UseRealTime();
    std::vector<std::string> names;
    std::unordered_map<std::string, std::string> right;
    for (int i = 0; i < 2000; ++i) {
        right.emplace(names.emplace_back("name" + std::to_string(i)), "");
    }
    std::unordered_map<std::string, std::string> wrong(right);
    wrong.erase(names.back());
    wrong.emplace("other", "");
    std::atomic<uint32_t> id{0};
    device.host.onRequest = [&id](const ServiceInfo& sent) {
        id = std::stoul(sent.collaborationIdStr);
    };
    Threads threads;
    threads.Work(100, [&](int) {
        DeviceInfo peer("udid", "network", "desk", DeviceType::PC);
        std::vector<DeviceDynamicInfo> records;
        const int32_t code =
            InfoCollectionService::GetInstance().GetRemoteDeviceDynamicInfo(peer, "me", names, records);
        EXPECT_TRUE(code == 0 || code == 2205) << code;
        EXPECT_EQ(std::ranges::count(records, "other", &DeviceDynamicInfo::GetKey), 0);
    });
    threads.Help(
        [&](int round) { InfoCollectionService::GetInstance().SetDynamicInfo(id, round % 2 == 0 ? right : wrong); });
    threads.Run();
}

// Requesters, a platform that answers late, services that die and idle closes, all at once.
class LocalInfoStress : public Testing::LibraryTest {
protected:
    static constexpr int SERVICES = 4;
    static constexpr int32_t SYSTEM_SERVICE = 5;

    LocalInfoStress() {
        std::string items;
        for (int i = 0; i < SERVICES; ++i) {
            const std::string n = std::to_string(i);
            items.append(i > 0 ? ",\"" : "\"").append(n).append(R"(":{"serviceExtensionAbilityName":"S)").append(n);
            items.append(R"(","commandCode":"1","variable":"","dataShareUri":"uri"})");
        }
        device.apps.abilities = {{"Page", "com.app", {{"collaborationFwk.infoCollection.configFile", "", ""}}}};
        device.apps.resources["com.app"] = {R"({"static_info":{"s":"x"},"dynamic_info":[{)" + items + "}]}"};
        device.profiles.codes["PutServiceProfile"] = 3;
        device.apps.onConnect = [this](const sptr<IAbilityConnection>& connection) {
            std::lock_guard lock(mutex_);
            wanted_.push_back(connection);
        };
        device.time.UseRealTime(20000);  // 300 seconds are 15 milliseconds
    }

    static std::string Ask(const std::string& name) {
        std::vector<std::string> names{name};
        std::unordered_map<std::string, std::string> result;
        InfoCollectionManager::GetInstance()->GetLocalDeviceDynamicInfo(names, result);
        return result.at(name);
    }
    // Answers every item with its name.
    sptr<Testing::FakeRemote> MakeService() {
        return device.MakeRemote("", [](uint32_t, MessageParcel& data, MessageParcel& reply) {
            reply.WriteUint32(0);
            reply.WriteString16(data.ReadString16());
            return 0;
        });
    }
    // Makes what is wanted; every fourth is then lost, to a death, the platform's word, or both, and told again late.
    bool ServeOne(int n) {
        std::unique_lock lock(mutex_);
        if (wanted_.empty()) {
            return false;
        }
        const sptr<IAbilityConnection> connection = wanted_.front();
        wanted_.pop_front();
        lock.unlock();
        const auto service = MakeService();
        connection->OnAbilityConnectDone({}, service, 0);
        std::thread dying([&] { n % 4 > 1 ? service->Die() : void(); });
        n % 4 == 3 ? connection->OnAbilityDisconnectDone({}, 0) : connection->OnAbilityConnectDone({}, nullptr, 1);
        dying.join();
        return true;
    }

private:
    std::mutex mutex_;
    std::deque<sptr<IAbilityConnection>> wanted_;  // guarded by mutex_
};

TEST_F(LocalInfoStress, GivesEachItemItsOwnValueOrNoneWhateverHappensToItsService) {
    Threads threads;
    std::atomic<int> given{0};
    for (int i = 0; i < 2; ++i) {
        threads.Work(1, [](int) { AppInfoCollection::GetInstance()->Init(); });
        threads.Help([this](int n) { ServeOne(n); });
    }
    threads.Help([](int n) {
        const std::string service = "S" + std::to_string(n % SERVICES);
        InfoCollectionManager::GetInstance()->DisconnectService("com.app", service, "com.app&" + service);
    });
    threads.Help([this](int n) {  // the number keeps each load a new one
        RequestSAManager::GetInstance()->RequestSingleSaOnConfigInfo({std::to_string(n % 50), SYSTEM_SERVICE, 1, u""});
        device.systemAbilities.Stop(SYSTEM_SERVICE);
    });
    threads.Help([this](int) { device.systemAbilities.FinishLoad(SYSTEM_SERVICE, MakeService()); });
    for (int i = 0; i < 3; ++i) {
        threads.Work(1, [&given, i](int) {
            for (int n = 0; n < 200 || (given == 0 && n < 1000000); ++n) {  // a busy machine serves late
                const std::string name = std::to_string((n / 20 + i) % SERVICES);
                const std::string value = Ask(name);
                EXPECT_TRUE(value == name || value.empty()) << value;
                given += value.empty() ? 0 : 1;
            }
        });
    }
    threads.Run();
    EXPECT_GT(given, 0);
    while (ServeOne(0)) {  // however many still wait
    }
    for (int n = 0; Ask("0") != "0"; n += 4) {  // whatever became of it, it can be had again
        ASSERT_LT(n, 400);
        ServeOne(n);
    }
}

class KeyMouseStress : public Testing::KeyMouseTest {
protected:
    static void Run(const std::vector<Threads::Job>& jobs) {
        Threads threads;
        for (const auto& job : jobs) {
            threads.Work(1500, job);
        }
        threads.Run();
    }
};

TEST_F(KeyMouseStress, ClientsComeGoAndDieAmongEventsAndLeaveNoMonitor) {
    device.input.displays = {{0, MakeSptr<Display>(0, 101, 101)}, {1, MakeSptr<Display>(1, 201, 201)}};
    std::atomic<int> heard{0};
    const auto Client = [&] {
        return device.MakeRemote("", [&heard](auto&&...) {
            ++heard;
            return 0;
        });
    };
    manager.AddKeyMouseEventListener(KEY_MOVE_TO_EDGE, 1, Client());
    const auto ComeAndGo = [&](const char* type, int32_t pid) {
        return [&, type, pid](int round) {
            const auto client = Client();
            manager.AddKeyMouseEventListener(type, pid, client);
            if (round % 2 == 0) {
                client->Die();
            }
            manager.RemoveKeyMouseEventListener(type, pid);
        };
    };
    const auto SendEvents = [this](int round) {
        device.input.Press(round, 1);
        device.input.Move(round % 2, round % 3 * 50, 50);
    };
    Run({ComeAndGo(KEY_KEYBOARD, 11), ComeAndGo(KEY_KEYBOARD, 12), ComeAndGo(KEY_MOVE_TO_EDGE, 12), SendEvents,
        SendEvents});
    EXPECT_GT(heard, 0);
    EXPECT_TRUE(KeyMouseListenerSet::GetInstance().GetListener(KEY_KEYBOARD)->GetCallbacks().empty());
    EXPECT_EQ(device.journal.CountCallsOf("RemoveMonitor"), device.journal.Count("AddMonitor(keys)"));
}

TEST_F(KeyMouseStress, DecisionsBindersAndLocksMeetOnManyThreads) {
    device.apps.applications.clear();  // decide, but do not connect: the fake takes one connection at a time
    const auto service = device.MakeRemote("", [](auto&&...) { return 0; });
    Run({[this](int round) { manager.BindKeymouseServiceReq(round % 2 == 0); },
        [this](int) { manager.SetLocalDeviceUdid(); }, [this](int) { manager.ExplainCrossing("peer-udid"); },
        [&](int round) {
            manager.SetDeviceStatus("peer-udid", round % 2 == 0);
            manager.UpdateKeyMouseServiceBinder(round % 3, service);
            manager.ScreenPowerUnLock();
        },
        [this](int round) {
            manager.HasOnlineDeviceSwitchOn();
            manager.DisconnectKeyMouseService(round % 3);
            manager.ScreenPowerLock();
        }});
    ExpectCount("CreateRunningLock(runningLock, 0)", 1);
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
