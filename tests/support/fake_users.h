// The users of a device, the common events that they publish, and the lock of the screen that they look at.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/account/os_account_manager.h"
#include "platform/event/common_event_manager.h"
#include "platform/power/power_mgr_client.h"
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// One thread, but for the screen's lock and reading. Accounts leave no mark in the journal: they are asked for too
// often.
class FakeUsers final : public PowerMgrClient, public FakeCalls {
public:
    explicit FakeUsers(Journal& journal) : FakeCalls(journal) {}

    // "CreateRunningLock(name, type)", then "Lock(ms)" and "UnLock()". A code makes it null.
    std::shared_ptr<RunningLock> CreateRunningLock(const std::string& name, RunningLockType type) override {
        const int32_t code = Call("CreateRunningLock", name + ", " + std::to_string(static_cast<int32_t>(type)));
        return code == 0 ? std::make_shared<ScreenLock>(*this) : nullptr;
    }

    // A process of user `uid` publishes an event. Subscribers to that publisher are told of it also when they asked for
    // events of other names.
    void Publish(const std::string& event, int32_t uid) {
        for (const auto& subscriber : subscribers) {
            if (subscriber->GetSubscribeInfo().GetPublisherUid() == uid) {
                subscriber->OnReceiveEvent(CommonEventData(Want().SetAction(event)));
            }
        }
    }

    int32_t foreground = 101;
    int32_t foregroundCode = 0;
    std::map<int32_t, OsAccountType> types;  // by user; those that are missing are normal
    int32_t typeCode = 0;                    // of asking for a type, which is told nevertheless
    std::vector<std::shared_ptr<CommonEventSubscriber>> subscribers;
    bool refusesSubscribers = false;

private:
    class ScreenLock final : public RunningLock {
    public:
        explicit ScreenLock(FakeUsers& owner) : owner_(owner) {}
        int32_t Lock(int32_t timeoutMs) override { return owner_.Call("Lock", std::to_string(timeoutMs)); }
        int32_t UnLock() override { return owner_.Call("UnLock", ""); }

    private:
        FakeUsers& owner_;
    };
};

}  // namespace ZYNE::Testing
