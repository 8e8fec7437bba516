#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"

namespace ZYNE::Cli {
namespace {

int RestartCompanion(Client::Device& device, const JsonOption& options) {
    // Gives new attempts; the device takes it back as soon as this program has ended.
    device.Crossing().BindService(true);
    if (options.json) {
        Json::Value result(Json::objectValue);
        result["restarted"] = true;
        PrintJson(result);
    }
    return 0;
}

}  // namespace

void AddCompanion(CLI::App& app, CommandLine& line) {
    CLI::App* companion = app.add_subcommand("companion", "The app that moves the pointer over");
    companion->require_subcommand(1);
    CLI::App* command = companion->add_subcommand(
        "restart", "Connect to it anew, with all attempts to reconnect; without --json nothing is printed");
    SetAction(*command, line, std::make_shared<JsonOption>(), RestartCompanion);
}

}  // namespace ZYNE::Cli
