// Is told that shared data has changed, but not how.
#pragma once

#include "platform/export.h"
#include "platform/ipc/remote_broker.h"

namespace ZYNE {

class PLATFORM_API IDataAbilityObserver : public IRemoteBroker {
public:
    // On any thread of the port, several at once, never inside an operation of DataShareHelper. Changes that follow one
    // another closely may be told in one call.
    virtual void OnChange() = 0;
};

class PLATFORM_API DataAbilityObserverStub : public IRemoteStub<IDataAbilityObserver> {};

}  // namespace ZYNE
