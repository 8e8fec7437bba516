// Connects to service extension abilities of installed apps on behalf of the system.
#pragma once

#include <cstdint>

#include "platform/ability/ability_connection.h"
#include "platform/ability/want.h"

namespace ZYNE {

// Any thread; the same rules as AbilityManagerClient.
class PLATFORM_API ExtensionManagerClient {
public:
    static ExtensionManagerClient& GetInstance();  // defined by the port

    // Like AbilityManagerClient::ConnectAbility, for an extension. `callerToken` names the caller, null for the system.
    // Ended by AbilityManagerClient::DisconnectAbility. 0 accepted; otherwise the port's own code.
    virtual int32_t ConnectServiceExtensionAbility(const Want& want, const sptr<IAbilityConnection>& connection,
        const sptr<IRemoteObject>& callerToken, int32_t userId) = 0;

protected:
    ~ExtensionManagerClient() = default;
};

}  // namespace ZYNE
