// Commands about crossing: switch, watch, request, explain.
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/crossing_commands.h"
#include "cli/options.h"

namespace ZYNE::Cli {
namespace {

struct SwitchOptions {
    std::optional<int32_t> user;
    bool json = false;
};

std::shared_ptr<SwitchOptions> AddSwitchOptions(CLI::App* command) {
    auto options = std::make_shared<SwitchOptions>();
    command->add_option("--user", options->user, "The switch of this user; by default of who is in the foreground")
        ->type_name("N")
        ->check(CLI::Range(0, std::numeric_limits<int32_t>::max()));
    command->add_flag("--json", options->json, "Print JSON");
    return options;
}

void AddPutSwitch(CLI::App& parent, const DeviceChoice& device, Run& run, const char* word, bool isOn) {
    CLI::App* command = parent.add_subcommand(word, std::string("Switch crossing ") + word);
    auto options = AddSwitchOptions(command);
    command->callback([&device, &run, options, isOn] {
        run = [&device, options, isOn] {
            return PutSwitch(device, isOn, options->user, options->json);
        };
    });
}

}  // namespace

void AddSwitch(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* parent = app.add_subcommand("switch", "The switch for crossing of keyboard and mouse");
    parent->require_subcommand(1);
    AddPutSwitch(*parent, device, run, "on", true);
    AddPutSwitch(*parent, device, run, "off", false);
    CLI::App* status = parent->add_subcommand("status", "Show the switches of the device and of its peers");
    auto options = AddSwitchOptions(status);
    status->callback([&device, &run, options] {
        run = [&device, options] {
            return ShowSwitches(device, options->user, options->json);
        };
    });
}

void AddCrossingWatch(CLI::App& app, const DeviceChoice& device, Run& run) {
    struct Options {
        std::vector<std::string> events;
        bool json = false;
    };
    CLI::App* command = app.add_subcommand("watch", "Print events of crossing as they come, until interrupted");
    auto options = std::make_shared<Options>();
    command
        ->add_option("EVENT", options->events,
            "keyboard: keys; edge: the pointer arrives at an edge; screen, switch: those of peers change")
        ->required()
        ->check(CLI::IsMember({"keyboard", "edge", "screen", "switch"}));
    command->add_flag("--json", options->json, "Print one JSON object a line");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return WatchCrossing(device, options->events, options->json);
        };
    });
}

void AddRequest(CLI::App& app, const DeviceChoice& device, Run& run) {
    struct Options {
        std::string request;
        bool json = false;
    };
    CLI::App* command = app.add_subcommand("request", "Send a key-mouse request and print its result");
    auto options = std::make_shared<Options>();
    command
        ->add_option("JSON", options->request,
            R"(The request, such as {"action":"sendKeyMouseEvent","event":1}; - reads standard input to its end)")
        ->required();
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return SendRequest(device, options->request, options->json);
        };
    });
}

void AddCompanion(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* companion = app.add_subcommand("companion", "The app that moves the pointer over");
    companion->require_subcommand(1);
    CLI::App* command = companion->add_subcommand(
        "restart", "Connect to it anew, with all attempts to reconnect; without --json nothing is printed");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print JSON");
    command->callback([&device, &run, json] {
        run = [&device, json] {
            return RestartCompanion(device, *json);
        };
    });
}

void AddExplain(CLI::App& app, const DeviceChoice& device, Run& run) {
    struct Options {
        std::string peer;
        bool json = false;
    };
    CLI::App* command = app.add_subcommand("explain", "Tell rule by rule why crossing with a peer starts or does not");
    auto options = std::make_shared<Options>();
    command->add_option("PEER", options->peer, "The peer: its name, or its id as 'devices' shows it")->required();
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return ExplainCrossing(device, options->peer, options->json);
        };
    });
}

}  // namespace ZYNE::Cli
