// What the commands of collabctl are made of. Each is a file that adds its words to the parser, and that has what it
// does: it writes its result to standard output and answers the exit status; a failure is thrown as CommandError, or as
// one of the errors of client/.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "client/device.h"
#include "client/device_registry.h"

namespace ZYNE::Cli {

// A failure as one line for people.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Where a device has answered, and the answer is no: a result code other than 0, or crossing that does not start.
constexpr int STATUS_OF_NO = 3;

class Refusal : public CommandError {
public:
    using CommandError::CommandError;
};

// Which device is meant: by its name, by its state directory, or the only one there is.
struct DeviceChoice {
    std::string name;
    std::string directory;
};

// Throws CommandError when there is no such device, or when nothing was chosen and several run. With `mayHaveEnded` a
// device that ended without leaving is found too.
Client::DeviceEntry ChooseDevice(const DeviceChoice& choice, bool mayHaveEnded = false);

// What was said, once it is parsed. Outlives the parser.
struct CommandLine {
    DeviceChoice device;
    std::function<int()> run;  // the command that was chosen; answers the exit status
};

// When `command` is chosen, `action` is run with `options`, which the parser has filled in by then.
template <typename Options>
void SetAction(CLI::App& command, CommandLine& line, const std::shared_ptr<Options>& options,
    int (*action)(const DeviceChoice&, const Options&)) {
    command.callback([&line, options, action] {
        line.run = [&line, options, action] {
            return action(line.device, *options);
        };
    });
}

// The same for a command that asks one running device, and that can print JSON.
template <typename Options>
void SetAction(CLI::App& command, CommandLine& line, const std::shared_ptr<Options>& options,
    int (*action)(Client::Device&, const Options&)) {
    command.add_flag("--json", options->json, "Print JSON");
    command.callback([&line, options, action] {
        line.run = [&line, options, action] {
            Client::Device device(ChooseDevice(line.device));
            return action(device, *options);
        };
    });
}

// The options of a command that has no others.
struct JsonOption {
    bool json = false;
};

// Each adds one command to the parser, with the commands under it.
void AddAccount(CLI::App& app, CommandLine& line);
void AddCompanion(CLI::App& app, CommandLine& line);
void AddDesk(CLI::App& app, CommandLine& line);
void AddDeskShow(CLI::App& desk, CommandLine& line);
void AddDevice(CLI::App& app, CommandLine& line);
void AddDevices(CLI::App& app, CommandLine& line);
void AddExplain(CLI::App& app, CommandLine& line);
void AddInfo(CLI::App& app, CommandLine& line);
void AddInput(CLI::App& app, CommandLine& line);
void AddLog(CLI::App& app, CommandLine& line);
void AddProfile(CLI::App& app, CommandLine& line);
void AddProfileWatch(CLI::App& profile, CommandLine& line);
void AddRequest(CLI::App& app, CommandLine& line);
void AddScreen(CLI::App& app, CommandLine& line);
void AddSetting(CLI::App& app, CommandLine& line);
void AddStatus(CLI::App& app, CommandLine& line);
void AddSwitch(CLI::App& app, CommandLine& line);
void AddUser(CLI::App& app, CommandLine& line);
void AddWatch(CLI::App& app, CommandLine& line);

}  // namespace ZYNE::Cli
