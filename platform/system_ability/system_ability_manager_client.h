// The way to the system ability manager.
#pragma once

#include "platform/system_ability/system_ability_manager.h"

namespace ZYNE {

// Any thread.
class PLATFORM_API SystemAbilityManagerClient {
public:
    static SystemAbilityManagerClient& GetInstance();  // defined by the port

    // Null while there is none, as before the port is up or after it has gone down.
    virtual sptr<ISystemAbilityManager> GetSystemAbilityManager() = 0;

protected:
    ~SystemAbilityManagerClient() = default;
};

}  // namespace ZYNE
