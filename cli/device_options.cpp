// Commands that look at a device: devices, info, log, status.
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "cli/options.h"

namespace ZYNE::Cli {
namespace {

constexpr size_t MOST_NAMES = 1024;  // more a peer refuses
constexpr unsigned MOST_SECONDS = 3600;
constexpr size_t LINES_BY_DEFAULT = 20;
constexpr int MOST_LINES = 1000000;

void CheckNames(const std::vector<std::string>& names) {
    if (names.size() > MOST_NAMES) {
        throw CLI::ValidationError("NAME", "at most " + std::to_string(MOST_NAMES) + " items can be asked at once");
    }
    std::set<std::string> seen;
    for (const std::string& name : names) {
        if (name.empty() || !seen.insert(name).second) {
            throw CLI::ValidationError("NAME", name.empty() ? "is empty" : name + " is given twice");
        }
    }
}

}  // namespace

void AddDevices(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* command = app.add_subcommand("devices", "List the peers that the device has seen since it came up");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print JSON");
    command->callback([&device, &run, json] {
        run = [&device, json] {
            return ShowDevices(device, *json);
        };
    });
}

void AddInfo(CLI::App& app, const DeviceChoice& device, Run& run) {
    struct Options {
        std::string peer;
        std::vector<std::string> names;
        unsigned timeout = 10;
        bool json = false;
    };
    CLI::App* info = app.add_subcommand("info", "Info of peers");
    info->require_subcommand(1);
    CLI::App* get = info->add_subcommand("get", "Ask a peer for items of its info and print their values");
    auto options = std::make_shared<Options>();
    get->add_option("PEER", options->peer, "The peer: its name, or its id as 'devices' shows it")->required();
    get->add_option("NAME", options->names, "Items to ask for")->required();
    get->add_option("--timeout", options->timeout, "Seconds to wait for the device (the device gives the peer five)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, MOST_SECONDS))
        ->capture_default_str();
    get->add_flag("--json", options->json, "Print JSON");
    get->callback([&device, &run, options] {
        CheckNames(options->names);
        run = [&device, options] {
            return GetInfo(
                device, options->peer, options->names, std::chrono::seconds(options->timeout), options->json);
        };
    });
}

void AddLog(CLI::App& app, const DeviceChoice& device, Run& run) {
    struct Options {
        size_t lines = LINES_BY_DEFAULT;
        bool follow = false;
    };
    CLI::App* command = app.add_subcommand("log", "Print the device's log, also after the device has ended");
    auto options = std::make_shared<Options>();
    command->add_option("--lines", options->lines, "How many of the last lines to print")
        ->type_name("N")
        ->check(CLI::Range(0, MOST_LINES))
        ->capture_default_str();
    command->add_flag("--follow", options->follow, "Go on printing new lines until the device ends");
    command->callback([&device, &run, options] {
        run = [&device, options] {
            return ShowLog(device, options->lines, options->follow);
        };
    });
}

void AddStatus(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* command = app.add_subcommand("status", "Show the device, its peers, and whether its set-up is complete");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print JSON");
    command->callback([&device, &run, json] {
        run = [&device, json] {
            return ShowStatus(device, *json);
        };
    });
}

}  // namespace ZYNE::Cli
