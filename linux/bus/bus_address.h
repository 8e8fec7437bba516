// Where a device's bus is, and how to connect to it.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "linux/base/unique_fd.h"
#include "linux/bus/bus_handles.h"

namespace ZYNE::Linux {

// The socket of the bus that keeps its files in `directory`.
std::filesystem::path BusSocket(const std::filesystem::path& directory);

// The D-Bus address of that socket.
std::string BusAddress(const std::filesystem::path& directory);

// A new connection, registered with the bus within `limit`. Throws std::runtime_error with one line that says why there
// is none.
BusHandle OpenBus(const std::string& address, std::chrono::milliseconds limit = std::chrono::seconds(30));

// Which end of a line: D-Bus on a socket between two processes, without a bus.
enum class LineEnd { CALLER, SERVICE };

// A line over `socket`, of which the other end opens its own, within `limit`. Throws as OpenBus does.
BusHandle OpenLine(UniqueFd socket, LineEnd end, std::chrono::milliseconds limit);

// Whether a connection that no other thread uses is still up. Reads and drops what was sent to it, since only reading
// shows its end.
bool IsConnected(sd_bus* bus);

// Asks the bus which connection owns `name`: empty when none does, or when the bus is gone. Starts no service.
std::string AskOwner(sd_bus* bus, const char* name);

}  // namespace ZYNE::Linux
