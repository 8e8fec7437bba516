// The system ability manager: abilities run, or are loaded when the test says so.
#pragma once

#include <algorithm>
#include <cstdint>
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
    explicit FakeSystemAbilities(Journal& journal) : FakeCalls(journal) {}

    sptr<ISystemAbilityManager> GetSystemAbilityManager() override { return hasManager ? manager_ : nullptr; }

    // The load of `id` that was asked for first, if one was, ends well, with `remote`, or badly.
    void FinishLoad(int32_t id, const sptr<IRemoteObject>& remote) {
        if (const auto callback = TakeLoad(id)) {
            if (remote) {
                Run(id, remote);
            }
            callback->OnLoadSystemAbilitySuccess(id, remote);
        }
    }
    void FailLoad(int32_t id) { TakeLoad(id)->OnLoadSystemAbilityFail(id); }
    void Run(int32_t id, const sptr<IRemoteObject>& remote) {
        std::lock_guard lock(mutex_);
        running[id] = remote;
    }
    void Stop(int32_t id) {
        std::lock_guard lock(mutex_);
        running.erase(id);
    }

    bool hasManager = true;
    std::map<int32_t, sptr<IRemoteObject>> running;  // for one thread; Run() and Stop() for many

private:
    struct Manager final : IRemoteStub<ISystemAbilityManager> {
        explicit Manager(FakeSystemAbilities& fake) : owner(fake) {}

        sptr<IRemoteObject> GetSystemAbility(int32_t id) override { return owner.Find("GetSystemAbility", id); }
        sptr<IRemoteObject> CheckSystemAbility(int32_t id) override { return owner.Find("CheckSystemAbility", id); }
        int32_t LoadSystemAbility(int32_t id, const sptr<ISystemAbilityLoadCallback>& callback) override {
            const int32_t code = owner.Call("LoadSystemAbility", std::to_string(id));
            if (code == 0) {
                std::lock_guard lock(owner.mutex_);
                owner.loads_.emplace_back(id, callback);
            }
            return code;
        }

        FakeSystemAbilities& owner;
    };

    sptr<IRemoteObject> Find(const std::string& operation, int32_t id) {
        const int32_t code = Call(operation, std::to_string(id));
        std::lock_guard lock(mutex_);
        const auto found = running.find(id);
        return code == 0 && found != running.end() ? found->second : nullptr;
    }
    // Null when no load of `id` is asked for.
    sptr<ISystemAbilityLoadCallback> TakeLoad(int32_t id) {
        std::lock_guard lock(mutex_);
        const auto found =
            std::find_if(loads_.begin(), loads_.end(), [id](const auto& load) { return load.first == id; });
        if (found == loads_.end()) {
            return nullptr;
        }
        const sptr<ISystemAbilityLoadCallback> callback = found->second;
        loads_.erase(found);
        return callback;
    }

    std::mutex mutex_;                                                         // guards `running` too
    std::vector<std::pair<int32_t, sptr<ISystemAbilityLoadCallback>>> loads_;  // guarded by mutex_
    sptr<ISystemAbilityManager> manager_ = MakeSptr<Manager>(*this);
};

}  // namespace ZYNE::Testing
