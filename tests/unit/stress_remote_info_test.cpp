// Requesters and peers on real threads and the real clock: what ThreadSanitizer is to look at.
#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include "plugin/info_collection/info_collection_process.h"
#include "plugin/info_collection/info_collection_service.h"
#include "tests/support/simulated_device.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t FIRST_ID = 1000;
constexpr int REQUESTS = 1600;

class RemoteInfoStress : public Testing::LibraryTest {
protected:
    // Some threads ask; others keep calling `answer` with each requester's slot, which holds the id of its last
    // request.
    void Run(int requesters, const std::function<void(std::atomic<uint32_t>& id)>& answer) {
        asked_ = std::vector<std::atomic<uint32_t>>(requesters);
        device.host.nextCollaborationId = FIRST_ID;
        device.host.onRequest = [](const ServiceInfo& sent) {
            *slot_ = std::stoul(sent.collaborationIdStr);
        };
        LogService::minLevel = LogLevel{7};  // none: the journal's lock would put everything in order
        std::atomic<int> asking{requesters};
        std::vector<std::thread> threads;
        for (std::atomic<uint32_t>& slot : asked_) {
            threads.emplace_back([this, &asking, &slot] {
                slot_ = &slot;
                for (size_t n = 0; n < REQUESTS / asked_.size(); ++n) {
                    Ask();
                }
                --asking;
            });
        }
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([this, &asking, &answer] {
                while (asking > 0) {
                    std::for_each(asked_.begin(), asked_.end(), answer);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        LogService::minLevel = LogLevel::INFO;
        ExpectNothingLeft();
    }

    static void Answer(uint32_t id, const char* answer = R"({"a":"1"})") {
        InfoCollectionProcess::GetInstance()->OnDataReceived(id, answer, 9);
    }

    std::atomic<int> answered_{0};
    std::atomic<int> givenUp_{0};
    std::atomic<int> mismatched_{0};
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

    void ExpectNothingLeft() {
        for (uint32_t id = FIRST_ID; id < device.host.nextCollaborationId + 2; ++id) {
            device.journal.Clear();
            EXPECT_FALSE(service_.IsCollaborationIdExist(id));
            EXPECT_FALSE(service_.IsValidDynamicInfoResult(id, {}));
            EXPECT_TRUE(device.journal.Has(
                "E Collection: cannot find collaborationId:" + std::to_string(id) + " in ResultList"));
        }
    }

    static inline thread_local std::atomic<uint32_t>* slot_ = nullptr;
    std::vector<std::atomic<uint32_t>> asked_;  // 0: nothing yet
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

}  // namespace
}  // namespace ZYNE::CollaborationFwk
