#include "linux/desktop/linux_interaction_manager.h"

#include "linux/base/log_domains.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::INTERACTION;

InteractionCode Check(uint32_t direction, double coefficient) {
    if (direction >= LinuxInteractionManager::DIRECTIONS) {
        return INTERACTION_UNKNOWN_DIRECTION;
    }
    const bool valid = coefficient >= 0.0 && coefficient <= 1.0;  // false for what is not a number
    return valid ? INTERACTION_OK : INTERACTION_BAD_COEFFICIENT;
}

}  // namespace

int32_t LinuxInteractionManager::SetDamplingCoefficient(uint32_t direction, double coefficient) {
    const InteractionCode code = Check(direction, coefficient);
    if (code == INTERACTION_OK) {
        const MutexLock lock(mutex_);
        coefficients_[direction] = coefficient;
    }
    LogPrint(LogType::CORE, code == INTERACTION_OK ? LogLevel::INFO : LogLevel::WARN, LOG,
        "damping towards side %{public}u: %{public}f, code %{public}d", direction, coefficient,
        static_cast<int32_t>(code));
    return code;
}

std::optional<double> LinuxInteractionManager::GetDamplingCoefficient(uint32_t direction) const {
    const MutexLock lock(mutex_);
    return direction < DIRECTIONS ? coefficients_[direction] : std::nullopt;
}

}  // namespace ZYNE::Linux
