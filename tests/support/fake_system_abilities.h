// The system ability manager: abilities run, or are loaded when the test says so.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/system_ability/system_ability_manager_client.h"
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// Any thread; but public members are set while no other thread calls.
class FakeSystemAbilities final : public SystemAbilityManagerClient, public FakeCalls {
public:
    explicit FakeSystemAbilities(Journal& journal);

    sptr<ISystemAbilityManager> GetSystemAbilityManager() override { return hasManager ? manager_ : nullptr; }

    // The load of `id` that was asked for first ends well, with `remote`, or badly; false when none is asked for.
    bool FinishLoad(int32_t id, const sptr<IRemoteObject>& remote);
    bool FailLoad(int32_t id);
    void Run(int32_t id, const sptr<IRemoteObject>& remote);
    void Stop(int32_t id);

    bool hasManager = true;
    std::map<int32_t, sptr<IRemoteObject>> running;  // for one thread; Run() and Stop() for many
    // By operation: runs once, during its next call.
    std::map<std::string, std::function<void()>> during;

private:
    class Manager;
    struct Load {
        int32_t id;
        sptr<ISystemAbilityLoadCallback> callback;
    };

    // Null when no load of `id` is asked for.
    sptr<ISystemAbilityLoadCallback> TakeLoad(int32_t id);
    void RunDuring(const std::string& operation);

    std::mutex mutex_;         // guards `running` and `during` too
    std::vector<Load> loads_;  // guarded by mutex_
    sptr<ISystemAbilityManager> manager_;
};

}  // namespace ZYNE::Testing
