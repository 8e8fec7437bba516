// Requesters, a platform that answers late, services that die and idle closes, all at once and on the real clock: what
// ThreadSanitizer is to look at.
#include <atomic>
#include <deque>
#include <mutex>
#include <thread>

#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/info_collection_manager.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "tests/support/echo_service.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr int SERVICES = 4;
constexpr int ROUNDS = 200;
constexpr int SPEED = 20000;  // 300 seconds are 15 milliseconds
constexpr int32_t SYSTEM_SERVICE = 5;

class LocalInfoStress : public Testing::LibraryTest {
protected:
    LocalInfoStress() {
        std::string items;
        for (int i = 0; i < SERVICES; ++i) {
            const std::string n = std::to_string(i);
            items += (i > 0 ? ",\"" : "\"") + n + R"(":{"serviceExtensionAbilityName":"S)" + n +
                R"(","commandCode":"1","variable":"","dataShareUri":"uri"})";
        }
        device.apps.abilities = {{"Page", "com.app", {{"collaborationFwk.infoCollection.configFile", "", ""}}}};
        device.apps.resources["com.app"] = {R"({"static_info":{"s":"x"},"dynamic_info":[{)" + items + "}]}"};
        device.profiles.codes["PutServiceProfile"] = 3;
        device.apps.onConnect = [this](const ElementName&, const sptr<IAbilityConnection>& connection) {
            std::lock_guard lock(mutex_);
            wanted_.push_back(connection);
        };
        device.time.UseRealTime(SPEED);
        LogService::minLevel = LogLevel{7};  // none: the journal's lock would put everything in order
    }
    ~LocalInfoStress() override { LogService::minLevel = LogLevel::INFO; }

    static std::string Ask(const std::string& name) {
        std::vector<std::string> names{name};
        std::unordered_map<std::string, std::string> result;
        InfoCollectionManager::GetInstance()->GetLocalDeviceDynamicInfo(names, result);
        return result.at(name);
    }
    // Makes what is wanted; every fourth is then lost, to a death, the platform's word, or both, and told of again late.
    void ServeOne(int n) {
        std::unique_lock lock(mutex_);
        if (wanted_.empty()) {
            return;
        }
        const sptr<IAbilityConnection> connection = wanted_.front();
        wanted_.pop_front();
        lock.unlock();
        const auto service = MakeSptr<Testing::EchoService>();
        connection->OnAbilityConnectDone({}, service, 0);
        std::thread dying([&] { n % 4 > 1 ? service->Die() : void(); });
        n % 4 == 3 ? connection->OnAbilityDisconnectDone({}, 0) : connection->OnAbilityConnectDone({}, nullptr, 1);
        dying.join();
    }

private:
    std::mutex mutex_;
    std::deque<sptr<IAbilityConnection>> wanted_;  // guarded by mutex_
};

TEST_F(LocalInfoStress, GivesEachItemItsOwnValueOrNoneWhateverHappensToItsService) {
    std::atomic<int> asking{3}, given{0};
    std::vector<std::thread> threads;
    const auto loop = [&](auto step) {
        threads.emplace_back([&asking, step] {
            for (int n = 0; asking > 0; ++n) {
                step(n);
            }
        });
    };
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([] { AppInfoCollection::GetInstance()->Init(); });
        loop([this](int n) { ServeOne(n); });
    }
    loop([](int n) {
        const std::string service = "S" + std::to_string(n % SERVICES);
        InfoCollectionManager::GetInstance()->DisconnectService("com.app", service, "com.app&" + service);
    });
    loop([this](int n) {  // the number keeps each load a new one
        RequestSAManager::GetInstance()->RequestSingleSaOnConfigInfo({std::to_string(n % 50), SYSTEM_SERVICE, 1, u""});
        device.systemAbilities.Stop(SYSTEM_SERVICE);
    });
    loop([this](int) { device.systemAbilities.FinishLoad(SYSTEM_SERVICE, MakeSptr<Testing::EchoService>()); });
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&asking, &given, i] {
            for (int n = 0; n < ROUNDS; ++n) {
                const std::string name = std::to_string((n / 20 + i) % SERVICES);
                const std::string value = Ask(name);
                EXPECT_TRUE(value == name || value.empty()) << value;
                given += value.empty() ? 0 : 1;
            }
            --asking;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_GT(given, 0);
    for (int n = 0; Ask("0") != "0"; n += 4) {  // whatever became of it, it can be had again
        ASSERT_LT(n, 400);
        ServeOne(n);
    }
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
