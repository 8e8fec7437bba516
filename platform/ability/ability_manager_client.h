// Connects to abilities of installed apps.
#pragma once

#include <cstdint>

#include "platform/ability/ability_connection.h"
#include "platform/ability/want.h"

namespace ZYNE {

// Any thread. Both operations may be called with the caller's locks held: neither calls `connection` back inline nor
// waits for a callback that is running.
class PLATFORM_API AbilityManagerClient {
public:
    static AbilityManagerClient* GetInstance();  // defined by the port; never null

    // Starts the ability of `want`'s element if it is not running, and connects to it. `connection` hears the outcome
    // later. Connections to one ability are counted: it runs until the last has gone. `userId` -1 is the current user.
    // 0 accepted; otherwise nothing was asked for and nothing will be reported: the port's own code.
    virtual int32_t ConnectAbility(const Want& want, const sptr<IAbilityConnection>& connection, int32_t userId) = 0;

    // Ends the connection that was made with `connection`. 0 accepted; otherwise the port's own code, as for a
    // connection that is not known.
    virtual int32_t DisconnectAbility(const sptr<IAbilityConnection>& connection) = 0;

protected:
    ~AbilityManagerClient() = default;
};

}  // namespace ZYNE
