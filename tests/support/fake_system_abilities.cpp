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
        if (code == 0) {
            owner_.loads_.push_back({id, callback});
        }
        return code;
    }

private:
    sptr<IRemoteObject> Find(const std::string& operation, int32_t id) const {
        const int32_t code = owner_.Call(operation, std::to_string(id));
        const auto found = owner_.running.find(id);
        return code == 0 && found != owner_.running.end() ? found->second : nullptr;
    }

    FakeSystemAbilities& owner_;
};

FakeSystemAbilities::FakeSystemAbilities(Journal& journal) : FakeCalls(journal), manager_(MakeSptr<Manager>(*this)) {}

sptr<ISystemAbilityLoadCallback> FakeSystemAbilities::TakeLoad(int32_t id) {
    const auto found = std::find_if(loads_.begin(), loads_.end(), [id](const Load& load) { return load.id == id; });
    const sptr<ISystemAbilityLoadCallback> callback = found->callback;
    loads_.erase(found);
    return callback;
}

void FakeSystemAbilities::FinishLoad(int32_t id, const sptr<IRemoteObject>& remote) {
    if (remote) {
        running[id] = remote;
    }
    TakeLoad(id)->OnLoadSystemAbilitySuccess(id, remote);
}

void FakeSystemAbilities::FailLoad(int32_t id) {
    TakeLoad(id)->OnLoadSystemAbilityFail(id);
}

}  // namespace ZYNE::Testing
