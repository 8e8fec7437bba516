// The device-status service's say in how the pointer moves.
#pragma once

#include <cstdint>

#include "platform/export.h"

namespace ZYNE {

// Any thread.
class PLATFORM_API InteractionManager {
public:
    static InteractionManager* GetInstance();  // defined by the port; never null

    // How much the pointer is slowed down when it crosses towards `direction`. Directions and the range of
    // `coefficient` are the port's. 0 is success; otherwise the port's own code, as for a direction that it does not
    // know.
    virtual int32_t SetDamplingCoefficient(uint32_t direction, double coefficient) = 0;

protected:
    ~InteractionManager() = default;
};

}  // namespace ZYNE
