// Clients that come, go and die while events and decisions arrive on other threads: what ThreadSanitizer is to look at.
#include <atomic>
#include <functional>
#include <thread>

#include "platform/host/global_variables.h"
#include "plugin/key_mouse/key_mouse_listener_set.h"
#include "tests/support/key_mouse_test.h"

namespace ZYNE::CollaborationFwk {
namespace {

using namespace GloableVariables;

// A process that any thread may talk to.
class LiveRemote final : public IRemoteObject {
public:
    int32_t SendRequest(uint32_t, MessageParcel&, MessageParcel&, MessageOption&) override {
        ++heard;
        return OK;
    }
    bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override {
        recipient_ = recipient;
        return true;
    }
    bool RemoveDeathRecipient(const sptr<DeathRecipient>&) override { return true; }
    void Die() { recipient_->OnRemoteDied(wptr<IRemoteObject>(this)); }

    std::atomic<int> heard{0};

private:
    sptr<DeathRecipient> recipient_;
};

class KeyMouseStress : public Testing::KeyMouseTest {
protected:
    // Each of `jobs` runs on a thread of its own, again and again, with the number of the round.
    static void Run(const std::vector<std::function<void(int round)>>& jobs) {
        LogService::minLevel = LogLevel{7};  // none: the journal's lock would put everything in order
        std::vector<std::thread> threads;
        for (const auto& job : jobs) {
            threads.emplace_back([&job] {
                for (int round = 0; round < 1500; ++round) {
                    job(round);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        LogService::minLevel = LogLevel::INFO;
    }
};

TEST_F(KeyMouseStress, ClientsComeGoAndDieAmongEventsAndLeaveNoMonitor) {
    device.input.displays = {{0, MakeSptr<Display>(0, 101, 101)}, {1, MakeSptr<Display>(1, 201, 201)}};
    const auto stays = MakeSptr<LiveRemote>();
    manager.AddKeyMouseEventListener(KEY_MOVE_TO_EDGE, 1, stays);
    const auto ComeAndGo = [this](const char* type, int32_t pid) {
        return [this, type, pid](int round) {
            const auto client = MakeSptr<LiveRemote>();
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
    EXPECT_GT(stays->heard, 0);
    EXPECT_TRUE(KeyMouseListenerSet::GetInstance().GetListener(KEY_KEYBOARD)->GetCallbacks().empty());
    EXPECT_EQ(device.journal.CountCallsOf("RemoveMonitor"), device.journal.Count("AddMonitor(keys)"));
}

TEST_F(KeyMouseStress, DecisionsBindersAndLocksMeetOnManyThreads) {
    device.apps.applications.clear();  // decide, but do not connect: the fake takes one connection at a time
    const auto service = MakeSptr<LiveRemote>();
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
    EXPECT_EQ(device.journal.Count("CreateRunningLock(runningLock, 0)"), 1U);
}

}  // namespace
}  // namespace ZYNE::CollaborationFwk
