// Requesters and peers on real threads and the real clock: what ThreadSanitizer is to look at.
#include <deque>
#include <thread>

#include "plugin/info_collection/info_collection_process.h"
#include "plugin/info_collection/info_collection_service.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t FIRST_ID = 42;
constexpr uint32_t FOREIGN = 1'000'000;  // from an id to one that nobody asked with

class RemoteInfoStress : public Testing::LibraryTest {
protected:
    // Eight threads ask; three others answer each request `delay` after it, twice, and once under a foreign id.
    void Run(int requestsEach, TimeSource::Clock::duration delay) {
        device.host.onRequest = [this](const ServiceInfo& service) {
            std::lock_guard lock(mutex_);
            requests_.emplace_back(std::stoul(service.collaborationIdStr), device.time.Now());
        };
        std::atomic<int> asking{8};
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&, requestsEach] {
                for (int n = 0; n < requestsEach; ++n) {
                    Ask();
                }
                --asking;
            });
        }
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&, delay] {
                while (asking > 0) {
                    AnswerNext(delay);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    void ExpectNothingLeft() {
        device.journal.Clear();
        const uint32_t end = device.host.nextCollaborationId;
        for (uint32_t id = FIRST_ID; id < end; ++id) {
            for (const uint32_t any : {id, id + FOREIGN}) {
                EXPECT_FALSE(service_.IsCollaborationIdExist(any));
                service_.IsValidDynamicInfoResult(any, {"a"});
                EXPECT_TRUE(device.journal.Lines().back().ends_with(":" + std::to_string(any) + " in ResultList"));
                device.journal.Clear();
            }
        }
    }

    std::atomic<int> answered_{0};
    std::atomic<int> givenUp_{0};
    std::atomic<TimeSource::Clock::duration> longest_{0s};

private:
    void Ask() {
        DeviceInfo peer("udid", "network", "desk", DeviceType::PC);
        std::vector<DeviceDynamicInfo> records;
        const TimeSource::TimePoint begin = device.time.Now();
        const int32_t code = service_.GetRemoteDeviceDynamicInfo(peer, "me", {"a"}, records);
        if (device.time.Now() - begin > longest_.load()) {
            longest_ = device.time.Now() - begin;
        }
        EXPECT_TRUE(code == 0 || code == 2201) << code;
        EXPECT_EQ(records.size(), code == 0 ? 1U : 0U);
        ++(code == 0 ? answered_ : givenUp_);
    }

    void AnswerNext(TimeSource::Clock::duration delay) {
        std::unique_lock lock(mutex_);
        if (requests_.empty()) {
            lock.unlock();
            std::this_thread::yield();
            return;
        }
        const auto [id, time] = requests_.front();
        requests_.pop_front();
        lock.unlock();
        device.time.SleepUntil(time + delay);
        for (const uint32_t any : {id + FOREIGN, id, id}) {
            InfoCollectionProcess::GetInstance()->OnDataReceived(any, R"({"a":"1"})", 9);
        }
    }

    InfoCollectionService& service_ = InfoCollectionService::GetInstance();
    std::mutex mutex_;
    std::deque<std::pair<uint32_t, TimeSource::TimePoint>> requests_;  // guarded by mutex_
};

TEST_F(RemoteInfoStress, EveryPromptAnswerWakesItsRequester) {
    device.time.UseRealTime();
    Run(100, 0s);
    EXPECT_EQ(answered_, 800);
    EXPECT_LT(longest_.load(), 5s);  // a lost wake-up shows at the deadline
    ExpectNothingLeft();
}

TEST_F(RemoteInfoStress, NothingIsLeftOfAnswersThatComeAtTheDeadline) {
    device.time.UseRealTime(1000);
    Run(100, 4900ms);
    EXPECT_EQ(answered_ + givenUp_, 800);
    EXPECT_GT(givenUp_, 0);
    ExpectNothingLeft();
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
