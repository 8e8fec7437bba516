// The host's thread pool.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/export.h"

namespace ZYNE::CollaborationFwk {

// Any thread.
class PLATFORM_API AsynThreadPool {
public:
    static AsynThreadPool* GetInstance();  // defined by the port; never null

    // Runs `task` on a thread of the pool, never inline. Tasks may sleep for minutes: the pool grows, so that a
    // sleeping task never keeps another from running. `param` names the path that posts: 2 info collection, 4 keyboard
    // and mouse. False: refused, the task has been dropped.
    virtual bool AddAsynTask(std::function<void()> task, int32_t param) = 0;

protected:
    ~AsynThreadPool() = default;
};

}  // namespace ZYNE::CollaborationFwk
