// The system ability manager: abilities run, or are loaded when the test says so.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "platform/system_ability/system_ability_manager_client.h"
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// One thread.
class FakeSystemAbilities final : public SystemAbilityManagerClient, public FakeCalls {
public:
    explicit FakeSystemAbilities(Journal& journal);

    sptr<ISystemAbilityManager> GetSystemAbilityManager() override { return hasManager ? manager_ : nullptr; }

    // The load of `id` that was asked for first ends well, with `remote`, or badly.
    void FinishLoad(int32_t id, const sptr<IRemoteObject>& remote);
    void FailLoad(int32_t id);

    bool hasManager = true;
    std::map<int32_t, sptr<IRemoteObject>> running;

private:
    class Manager;
    struct Load {
        int32_t id;
        sptr<ISystemAbilityLoadCallback> callback;
    };

    sptr<ISystemAbilityLoadCallback> TakeLoad(int32_t id);

    std::vector<Load> loads_;
    sptr<ISystemAbilityManager> manager_;
};

}  // namespace ZYNE::Testing
