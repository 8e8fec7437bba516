// Which system services this device has: the table file.
//
//     {"abilities": [{"id": 90001, "busName": "org.example.SystemInfo", "exec": ["bin/system_info"]}]}
//
// Each entry has an "id" and the well-known "busName" that the service's process owns. "exec" is the command that the
// bus starts it with: the executable, relative to the table's directory unless absolute, and its arguments; a service
// without one must be started by others. "path" is the path of the object that answers, if not the default.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "linux/services/bus_service.h"

namespace ZYNE::Linux {

struct SystemAbilityEntry {
    BusService service;  // without a command when the bus does not start it
    std::string path;
};

using SystemAbilityTable = std::map<int32_t, SystemAbilityEntry>;

// Throws std::runtime_error with one line that names the file and the entry.
SystemAbilityTable ReadSystemAbilityTable(const std::filesystem::path& file);

}  // namespace ZYNE::Linux
