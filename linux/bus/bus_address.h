// Where a device's bus is, and how to connect to it.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "linux/bus/bus_handles.h"

namespace ZYNE::Linux {

// The socket of the bus that keeps its files in `directory`.
std::filesystem::path BusSocket(const std::filesystem::path& directory);

// The D-Bus address of that socket.
std::string BusAddress(const std::filesystem::path& directory);

// A new connection, registered with the bus within `limit`. Throws std::runtime_error with one line that says why there
// is none.
BusHandle OpenBus(const std::string& address, std::chrono::milliseconds limit = std::chrono::seconds(30));

// Whether a connection that no other thread uses is still up. Reads and drops what was sent to it, since only reading
// shows its end.
bool IsConnected(sd_bus* bus);

// Asks the bus which connection owns `name`: empty when none does, or when the bus is gone. Starts no service.
std::string AskOwner(sd_bus* bus, const char* name);

}  // namespace ZYNE::Linux
