// Finds and loads system abilities: the services of the operating system, each known by a number.
#pragma once

#include <cstdint>

#include "platform/ipc/remote_broker.h"
#include "platform/system_ability/system_ability_load_callback.h"

namespace ZYNE {

// Any thread.
class PLATFORM_API ISystemAbilityManager : public IRemoteBroker {
public:
    // The running ability, started first if need be; null when it is not known or does not start. Blocks while it
    // starts.
    virtual sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) = 0;

    // The ability if it is running, else null. Never starts it.
    virtual sptr<IRemoteObject> CheckSystemAbility(int32_t systemAbilityId) = 0;

    // Starts the ability and has `callback` told. 0 accepted; otherwise refused, and `callback` is never told. Returns
    // before the callback comes, and never waits for one: the caller may hold locks that the callback takes. The port
    // holds `callback` until it has been told.
    virtual int32_t LoadSystemAbility(int32_t systemAbilityId, const sptr<ISystemAbilityLoadCallback>& callback) = 0;
};

}  // namespace ZYNE
