// How long the two sides of a visit wait for each other.
#pragma once

#include <chrono>
#include <cstdint>

namespace ZYNE::Companion {

inline constexpr std::chrono::milliseconds ALIVE_PERIOD{250};
inline constexpr std::chrono::milliseconds SILENCE{800};       // then a side ends the visit by itself
inline constexpr std::chrono::milliseconds ANSWER_TIME{400};   // for Entered or Refused
inline constexpr std::chrono::milliseconds HOLD_OFF{500};      // at an edge that was not crossed, or come back from
inline constexpr std::chrono::seconds REFUSAL_PERIOD{1};       // at which refusals are told
inline constexpr std::chrono::seconds LONGEST_ROUND_TRIP{10};  // that makes sense

inline uint64_t Micros(std::chrono::steady_clock::time_point now) {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now.time_since_epoch()).count());
}

}  // namespace ZYNE::Companion
