// The callback through which the loading of a system ability is reported.
#pragma once

#include <cstdint>

#include "platform/ipc/remote_broker.h"

namespace ZYNE {

class PLATFORM_API ISystemAbilityLoadCallback : public IRemoteBroker {
public:
    // One of the two, once, on a thread of the port that is not inside LoadSystemAbility.
    virtual void OnLoadSystemAbilitySuccess(int32_t systemAbilityId, const sptr<IRemoteObject>& remoteObject) = 0;
    virtual void OnLoadSystemAbilityFail(int32_t systemAbilityId) = 0;
};

class PLATFORM_API SystemAbilityLoadCallbackStub : public IRemoteStub<ISystemAbilityLoadCallback> {};

}  // namespace ZYNE
