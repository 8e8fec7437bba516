#include "linux/services/system_ability_table.h"

#include <set>
#include <stdexcept>

#include <systemd/sd-bus.h>

#include "linux/base/json_file.h"
#include "linux/bus/bus_wire.h"
#include "linux/services/bus_config.h"

namespace ZYNE::Linux {
namespace {

constexpr size_t MAX_FILE_BYTES = 1u << 20;  // bytes

SystemAbilityEntry ReadEntry(const Json::Value& json, const std::filesystem::path& directory) {
    SystemAbilityEntry entry;
    entry.service.name = JsonString(json, "busName");
    entry.service.command = JsonStrings(json, "exec");
    entry.path = JsonString(json, "path", BusWire::DEFAULT_PATH);
    if (sd_bus_service_name_is_valid(entry.service.name.c_str()) <= 0 || entry.service.name.starts_with(':')) {
        throw JsonError(json, "\"busName\" must be a well-known bus name");
    }
    if (sd_bus_object_path_is_valid(entry.path.c_str()) <= 0) {
        throw JsonError(json, "\"path\" must be an object path");
    }
    if (!entry.service.command.empty()) {
        std::string& executable = entry.service.command.front();
        executable = (directory / executable).lexically_normal().native();
        CheckService(entry.service);
    }
    return entry;
}

}  // namespace

SystemAbilityTable ReadSystemAbilityTable(const std::filesystem::path& file) {
    const JsonFile json = ReadJsonFile(file, MAX_FILE_BYTES);
    const std::filesystem::path directory = std::filesystem::absolute(file).parent_path();
    SystemAbilityTable table;
    std::set<std::string> names;
    size_t index = 0;
    try {
        for (const Json::Value& ability : JsonObjects(json.root, "abilities")) {
            const int32_t id = JsonInt(ability, "id");
            const SystemAbilityEntry& entry = table[id] = ReadEntry(ability, directory);
            ++index;
            if (table.size() != index || !names.insert(entry.service.name).second) {
                throw JsonError(ability, "its \"id\" or \"busName\" stands in an earlier entry already");
            }
        }
    } catch (const JsonError& error) {
        throw std::runtime_error(json.Place(error.Offset()) + "entry " + std::to_string(index) + ": " + error.what());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file.native() + ": entry " + std::to_string(index) + ": " + error.what());
    }
    return table;
}

}  // namespace ZYNE::Linux
