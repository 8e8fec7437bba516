// The way to the power manager.
#pragma once

#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/power/running_lock.h"

namespace ZYNE {

// Any thread.
class PLATFORM_API PowerMgrClient {
public:
    static PowerMgrClient& GetInstance();  // defined by the port

    // A running lock that is not locked yet; null when the power manager refuses. `name` is what it shows to people.
    virtual std::shared_ptr<RunningLock> CreateRunningLock(const std::string& name, RunningLockType type) = 0;

protected:
    ~PowerMgrClient() = default;
};

}  // namespace ZYNE
