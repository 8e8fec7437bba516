// Keeps the screen on while it is locked.
#pragma once

#include <cstdint>

#include "platform/export.h"

namespace ZYNE {

enum class RunningLockType : int32_t { SCREEN = 0 };

// Any thread, one at a time. The caller may hold locks: nothing is called back. Dropping a running lock unlocks it.
class PLATFORM_API RunningLock {
public:
    virtual ~RunningLock() = default;

    // Locks for `timeoutMs` milliseconds, after which the port unlocks by itself; locking again starts the time anew. 0
    // is success; otherwise the port's own code.
    virtual int32_t Lock(int32_t timeoutMs) = 0;

    // 0 is success, also when it was not locked; otherwise the port's own code.
    virtual int32_t UnLock() = 0;
};

}  // namespace ZYNE
