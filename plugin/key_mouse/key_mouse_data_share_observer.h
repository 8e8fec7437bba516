// Hears that the crossing switch of the foreground user was changed in the settings.
#pragma once

#include "platform/datashare/data_ability_observer.h"

namespace ZYNE::CollaborationFwk {

// On threads of the port.
class KeyMouseDataShareObserver final : public DataAbilityObserverStub {
public:
    // The user's own table wins: older values in the table of all users are made invalid. Then applies the switch.
    void OnChange() override;
};

}  // namespace ZYNE::CollaborationFwk
