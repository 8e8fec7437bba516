// Tells which displays there are.
#pragma once

#include <cstdint>

#include "platform/display/display.h"
#include "platform/export.h"
#include "platform/ipc/ref_base.h"

namespace ZYNE {

// Any thread. Neither operation blocks for long: both are called on the path of pointer events.
class PLATFORM_API DisplayManager {
public:
    static DisplayManager& GetInstance();  // defined by the port

    // Null when there is no display.
    virtual sptr<Display> GetDefaultDisplay() = 0;

    // Null when there is no such display, or no longer.
    virtual sptr<Display> GetDisplayById(uint64_t displayId) = 0;

protected:
    ~DisplayManager() = default;
};

}  // namespace ZYNE
