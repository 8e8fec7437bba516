// The files that a bus daemon reads.
#pragma once

#include <filesystem>
#include <string>

#include "linux/services/bus_service.h"

namespace ZYNE::Linux {

// The daemon's configuration: a private bus for processes of the same user, which may use it freely.
std::string BusConfig(const std::string& address, const std::filesystem::path& serviceDirectory);

// Checks that the bus could start the service. Throws std::runtime_error for a name that is not a well-known bus name
// or is too long for a file, and for a command with control characters or without an absolute path.
void CheckService(const BusService& service);

// The name of the service's activation file.
std::string ActivationFileName(const BusService& service);

// Its content. Throws as CheckService does.
std::string ActivationFile(const BusService& service);

}  // namespace ZYNE::Linux
