// The UDP ports that a DDS domain uses, as DDS lays them out.
#pragma once

#include <cstdint>

namespace ZYNE::Linux {

inline constexpr uint32_t FIRST_PORT = 7400;
inline constexpr uint32_t PORTS_OF_A_DOMAIN = 250;
inline constexpr uint32_t LAST_DOMAIN = 230;
// How many devices of a domain one machine may run: two ports each, behind the first ten.
inline constexpr uint32_t MOST_DEVICES_ON_A_MACHINE = 100;

constexpr bool IsPortOf(uint32_t domain, uint32_t port) {
    const uint32_t first = FIRST_PORT + domain * PORTS_OF_A_DOMAIN;
    return port >= first && port < first + PORTS_OF_A_DOMAIN;
}

}  // namespace ZYNE::Linux
