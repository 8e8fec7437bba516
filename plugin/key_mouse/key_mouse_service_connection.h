// Hears what becomes of the connection to the companion's service extension.
#pragma once

#include "platform/ability/ability_connection.h"

namespace ZYNE::CollaborationFwk {

// On threads of the port. Has no state of its own: KeyMouseServiceManager::GetInstance() is told.
class KeyMouseServiceConnection final : public AbilityConnectionStub {
public:
    void OnAbilityConnectDone(
        const ElementName& element, const sptr<IRemoteObject>& remoteObject, int resultCode) override;
    // Releases the screen and connects anew, unless the end was asked for.
    void OnAbilityDisconnectDone(const ElementName& element, int resultCode) override;
};

}  // namespace ZYNE::CollaborationFwk
