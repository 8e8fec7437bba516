// The configuration file of a device; docs/configuration.md describes every key.
#pragma once

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/desk_options.h"
#include "linux/desktop/display_table.h"
#include "linux/desktop/input_service.h"
#include "linux/device/users.h"
#include "linux/log/linux_log.h"
#include "linux/network/fabric_options.h"

namespace ZYNE::Host {

// Paths are absolute, or empty where the key is not given.
struct Config {
    std::filesystem::path stateDirectory;
    std::filesystem::path systemRoot;
    std::filesystem::path appsDirectory;
    std::chrono::milliseconds answerTime{};  // of an app that is asked for a fact
    std::filesystem::path serviceTable;
    std::vector<Linux::User> users;  // at least one, each id once
    Linux::InputOptions input;
    Linux::DisplayArea scriptedDisplay;  // used while there is no display server
    DeskOptions desk;
    std::string interfacePlace;   // file, line and key of the interfaces, for messages
    Linux::FabricOptions fabric;  // the udid and the state directory are not set
    Linux::LogOptions log;        // the file and the device are not set
};

// What is wrong with a configuration, as one line: the file, the line and the key.
class ConfigError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads and checks `file`. Relative paths are taken from its directory. Throws ConfigError.
Config ReadConfig(const std::filesystem::path& file);

}  // namespace ZYNE::Host
