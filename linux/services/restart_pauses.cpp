#include "linux/services/restart_pauses.h"

#include <array>

namespace ZYNE::Linux {
namespace {

constexpr std::array<std::chrono::seconds, 4> FIRST_PAUSES{
    std::chrono::seconds(0), std::chrono::seconds(1), std::chrono::seconds(3), std::chrono::seconds(10)};
constexpr int FIRST_STEADY = static_cast<int>(FIRST_PAUSES.size()) + 1;
constexpr std::chrono::seconds LONG_LIFE{60};

}  // namespace

std::chrono::seconds RestartPauses::TakeDeath(std::chrono::steady_clock::duration life) {
    if (life >= LONG_LIFE) {
        deaths_ = 0;
    }
    deaths_ += deaths_ <= FIRST_STEADY ? 1 : 0;
    return IsSteady() ? STEADY_PAUSE : FIRST_PAUSES[static_cast<size_t>(deaths_) - 1];
}

bool RestartPauses::IsSteady() const {
    return deaths_ >= FIRST_STEADY;
}

bool RestartPauses::HasBecomeSteady() const {
    return deaths_ == FIRST_STEADY;
}

}  // namespace ZYNE::Linux
