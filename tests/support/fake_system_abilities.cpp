#include "tests/support/fake_system_abilities.h"

#include <algorithm>
#include <string>

namespace ZYNE::Testing {

class FakeSystemAbilities::Manager final : public IRemoteStub<ISystemAbilityManager> {
public:
    explicit Manager(FakeSystemAbilities& owner) : owner_(owner) {}

    sptr<IRemoteObject> GetSystemAbility(int32_t id) override { return Find("GetSystemAbility", id); }
    sptr<IRemoteObject> CheckSystemAbility(int32_t id) override { return Find("CheckSystemAbility", id); }
    int32_t LoadSystemAbility(int32_t id, const sptr<ISystemAbilityLoadCallback>& callback) override {
        const int32_t code = owner_.Call("LoadSystemAbility", std::to_string(id));
        owner_.RunDuring("LoadSystemAbility");
        if (code == 0) {
            std::lock_guard lock(owner_.mutex_);
            owner_.loads_.push_back({id, callback});
        }
        return code;
    }

private:
    sptr<IRemoteObject> Find(const std::string& operation, int32_t id) const {
        const int32_t code = owner_.Call(operation, std::to_string(id));
        owner_.RunDuring(operation);
        std::lock_guard lock(owner_.mutex_);
        const auto found = owner_.running.find(id);
        return code == 0 && found != owner_.running.end() ? found->second : nullptr;
    }

    FakeSystemAbilities& owner_;
};

FakeSystemAbilities::FakeSystemAbilities(Journal& journal) : FakeCalls(journal), manager_(MakeSptr<Manager>(*this)) {}

sptr<ISystemAbilityLoadCallback> FakeSystemAbilities::TakeLoad(int32_t id) {
    std::lock_guard lock(mutex_);
    const auto found = std::find_if(loads_.begin(), loads_.end(), [id](const Load& load) { return load.id == id; });
    if (found == loads_.end()) {
        return nullptr;
    }
    const sptr<ISystemAbilityLoadCallback> callback = found->callback;
    loads_.erase(found);
    return callback;
}

bool FakeSystemAbilities::FinishLoad(int32_t id, const sptr<IRemoteObject>& remote) {
    const auto callback = TakeLoad(id);
    if (!callback) {
        return false;
    }
    if (remote) {
        Run(id, remote);
    }
    callback->OnLoadSystemAbilitySuccess(id, remote);
    return true;
}

bool FakeSystemAbilities::FailLoad(int32_t id) {
    const auto callback = TakeLoad(id);
    if (callback) {
        callback->OnLoadSystemAbilityFail(id);
    }
    return static_cast<bool>(callback);
}

void FakeSystemAbilities::Run(int32_t id, const sptr<IRemoteObject>& remote) {
    std::lock_guard lock(mutex_);
    running[id] = remote;
}

void FakeSystemAbilities::Stop(int32_t id) {
    std::lock_guard lock(mutex_);
    running.erase(id);
}

void FakeSystemAbilities::RunDuring(const std::string& operation) {
    std::unique_lock lock(mutex_);
    const auto event = during.extract(operation);
    lock.unlock();
    if (event) {
        event.mapped()();
    }
}

}  // namespace ZYNE::Testing
