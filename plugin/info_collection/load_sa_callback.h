// Hears that a system ability has been loaded and repeats what was wanted of it.
#pragma once

#include <cstdint>
#include <string>

#include "platform/system_ability/system_ability_load_callback.h"

namespace ZYNE::CollaborationFwk {

// Called on a thread of the port. A new one is made for each load; the port holds it until it has been told.
class LoadSACallback final : public SystemAbilityLoadCallbackStub {
public:
    explicit LoadSACallback(const std::string& name) : name_(name) {}

    void OnLoadSystemAbilitySuccess(int32_t systemAbilityId, const sptr<IRemoteObject>& remoteObject) override;
    void OnLoadSystemAbilityFail(int32_t systemAbilityId) override;

private:
    const std::string name_;
};

}  // namespace ZYNE::CollaborationFwk
