#include <cstdint>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"

namespace ZYNE::Cli {
namespace {

struct Options {
    int32_t status = 0;  // as Client::Crossing::SetScreen has it
    bool json = false;
};

int SetScreen(Client::Device& device, const Options& options) {
    device.Crossing().SetScreen(options.status);
    if (options.json) {
        Json::Value root(Json::objectValue);
        root["status"] = options.status;
        PrintJson(root);
    }
    return 0;
}

void AddWord(CLI::App& screen, CommandLine& line, const char* word, int32_t status, const char* description) {
    SetAction(*screen.add_subcommand(word, description), line, std::make_shared<Options>(Options{status}), SetScreen);
}

}  // namespace

void AddScreen(CLI::App& app, CommandLine& line) {
    CLI::App* screen = app.add_subcommand("screen", "Say what the device's screen is; its peers are told");
    screen->require_subcommand(1);
    AddWord(*screen, line, "on", 1, "Say that it is on");
    AddWord(*screen, line, "off", 0, "Say that it is off");
    AddWord(*screen, line, "locked", 2, "Say that it is locked");
    AddWord(*screen, line, "auto", -1, "Leave it to the desktop again");
}

}  // namespace ZYNE::Cli
