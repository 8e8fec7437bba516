// The udid of a device that no account gave one.
#pragma once

#include <filesystem>
#include <string>

namespace ZYNE::Host {

// The udid kept in `stateDirectory`, made there at the first start. Throws std::runtime_error with one line when it
// cannot be read or kept.
std::string KeptUdid(const std::filesystem::path& stateDirectory);

}  // namespace ZYNE::Host
