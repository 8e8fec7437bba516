// Keeps what the library asks for when the pointer crosses, for the program that moves the pointer.
#pragma once

#include <array>
#include <optional>

#include "linux/base/mutex.h"
#include "platform/interaction/interaction_manager.h"

namespace ZYNE::Linux {

enum InteractionCode : int32_t {
    INTERACTION_OK = 0,
    INTERACTION_UNKNOWN_DIRECTION = 1,
    INTERACTION_BAD_COEFFICIENT = 2,  // not a number from 0 to 1
};

// The side of the screen at which the pointer leaves.
enum class CrossingDirection : uint32_t { LEFT, RIGHT, TOP, BOTTOM };

// Any thread.
class LinuxInteractionManager final : public InteractionManager {
public:
    static constexpr size_t DIRECTIONS = 4;

    // `direction` is a CrossingDirection. `coefficient` is the part of its speed that the pointer loses: 0 leaves it as
    // it is, 1 stops it.
    int32_t SetDamplingCoefficient(uint32_t direction, double coefficient) override;

    // Empty when none was set, and for an unknown direction.
    std::optional<double> GetDamplingCoefficient(uint32_t direction) const;

private:
    mutable Mutex mutex_;
    std::array<std::optional<double>, DIRECTIONS> coefficients_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
