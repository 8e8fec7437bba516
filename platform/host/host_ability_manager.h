// The host's own way to the services that it keeps at hand.
#pragma once

#include "platform/bundle/bundle_mgr.h"
#include "platform/export.h"
#include "platform/ipc/ref_base.h"

namespace ZYNE::CollaborationFwk {

// Any thread.
class PLATFORM_API HostAbilityManager {
public:
    static HostAbilityManager& GetInstance();  // defined by the port

    // Null while there is no bundle manager.
    virtual sptr<IBundleMgr> GetBundleManagerProxy() = 0;

protected:
    ~HostAbilityManager() = default;
};

}  // namespace ZYNE::CollaborationFwk
