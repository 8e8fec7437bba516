// How one run of a device is named on the network.
#pragma once

#include <string>
#include <string_view>

namespace ZYNE::Linux {

inline constexpr size_t RUN_BYTES = 16;

// RUN_BYTES random bytes. Throws std::runtime_error when the system gives none.
std::string NewRun();

// 32 hexadecimal digits that follow from the device and its run: nobody can take the network id of another, since both
// ends compute it.
std::string NetworkIdOf(std::string_view udid, std::string_view run);
bool IsNetworkId(std::string_view text);

}  // namespace ZYNE::Linux
