// The files that a bus daemon reads.
#pragma once

#include <filesystem>
#include <string>

#include "linux/bus/bus_service.h"

namespace ZYNE::Linux {

// The daemon's configuration: a private bus for processes of the same user, which may use it freely.
std::string BusConfig(const std::string& address, const std::filesystem::path& serviceDirectory);

// The activation file of a service. Throws std::runtime_error for a name that is no bus name, and for a command with
// control characters or without an absolute path.
std::string ActivationFile(const BusService& service);

}  // namespace ZYNE::Linux
