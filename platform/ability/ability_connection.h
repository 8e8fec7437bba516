// The callback through which an app connection reports.
#pragma once

#include <cstdint>

#include "platform/ability/element_name.h"
#include "platform/ipc/remote_broker.h"

namespace ZYNE {

class PLATFORM_API IAbilityConnection : public IRemoteBroker {
public:
    // The ability is connected. `remoteObject` is null, and `resultCode` not 0, when it could not be started. On a
    // thread of the port, never inside the call that asked for the connection.
    virtual void OnAbilityConnectDone(
        const ElementName& element, const sptr<IRemoteObject>& remoteObject, int resultCode) = 0;

    // The connection is over: asked for, or because the ability went away. Threads as above.
    virtual void OnAbilityDisconnectDone(const ElementName& element, int resultCode) = 0;
};

class PLATFORM_API AbilityConnectionStub : public IRemoteStub<IAbilityConnection> {};

}  // namespace ZYNE
