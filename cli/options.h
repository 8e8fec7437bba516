// What can be said to collabctl: each function adds one command, with its options, to the parser.
#pragma once

#include <functional>

#include <CLI/CLI.hpp>

#include "cli/commands.h"

namespace ZYNE::Cli {

// The command that was chosen; answers the exit status.
using Run = std::function<int()>;

// Both references must outlive the parser: `device` is filled in by it, and `run` set when the command is chosen.
void AddDevices(CLI::App& app, const DeviceChoice& device, Run& run);
void AddInfo(CLI::App& app, const DeviceChoice& device, Run& run);
void AddLog(CLI::App& app, const DeviceChoice& device, Run& run);
void AddProfile(CLI::App& app, const DeviceChoice& device, Run& run);
void AddSetting(CLI::App& app, const DeviceChoice& device, Run& run);
void AddStatus(CLI::App& app, const DeviceChoice& device, Run& run);
void AddSwitch(CLI::App& app, const DeviceChoice& device, Run& run);
void AddCrossingWatch(CLI::App& app, const DeviceChoice& device, Run& run);
void AddRequest(CLI::App& app, const DeviceChoice& device, Run& run);
void AddExplain(CLI::App& app, const DeviceChoice& device, Run& run);
void AddCompanion(CLI::App& app, const DeviceChoice& device, Run& run);
void AddUser(CLI::App& app, const DeviceChoice& device, Run& run);
void AddInput(CLI::App& app, const DeviceChoice& device, Run& run);
void AddScreen(CLI::App& app, const DeviceChoice& device, Run& run);
void AddAccount(CLI::App& app, const DeviceChoice& device, Run& run);
void AddDevice(CLI::App& app, Run& run);

}  // namespace ZYNE::Cli
