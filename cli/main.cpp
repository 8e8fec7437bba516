// collabctl: asks a device, shows its log, and makes accounts and their devices.
#include <chrono>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/commands.h"
#include "platform/log/printable_text.h"

namespace {

using ZYNE::Cli::DeviceChoice;
using Run = std::function<int()>;  // the command that was chosen

constexpr int FAILED = 1;
constexpr int WRONG_USAGE = 2;

constexpr size_t MOST_NAMES = 1024;  // more a peer refuses
constexpr unsigned MOST_SECONDS = 3600;
constexpr size_t LINES_BY_DEFAULT = 20;
constexpr int MOST_LINES = 1000000;

constexpr const char* FOOTER = R"(
Exit status: 0 done; 1 failed, with one line on standard error; 2 wrong usage.

Examples:
  collabctl devices                              with one device running, --device may be left out
  collabctl --device Phone devices --json
  collabctl --device Phone info get Desk os.name os.uptime
  collabctl --device Phone log --follow
  collabctl account create ~/account --name Home
  collabctl device enroll --account ~/account --directory ~/phone-credentials)";

void AddDevices(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* command = app.add_subcommand("devices", "List the peers that the device has seen since it came up");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print JSON");
    command->callback([&device, &run, json] {
        run = [&device, json] {
            return ZYNE::Cli::ShowDevices(device, *json);
        };
    });
}

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
            return ZYNE::Cli::GetInfo(
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
            return ZYNE::Cli::ShowLog(device, options->lines, options->follow);
        };
    });
}

void AddAccount(CLI::App& app, Run& run) {
    struct Options {
        std::string directory;
        std::string name;
    };
    CLI::App* account = app.add_subcommand("account", "Accounts: what devices that trust each other share");
    account->require_subcommand(1);
    CLI::App* create = account->add_subcommand("create", "Make an account: the authority that signs its devices");
    auto options = std::make_shared<Options>();
    create->add_option("DIRECTORY", options->directory, "A new directory for the account; keep it secret")->required();
    create->add_option("--name", options->name, "The account's name")->required()->type_name("NAME");
    create->callback([&run, options] {
        run = [options] {
            return ZYNE::Cli::CreateAccount(options->directory, options->name);
        };
    });
}

void AddDevice(CLI::App& app, Run& run) {
    struct Options {
        std::string account;
        std::string directory;
        std::string udid;
    };
    CLI::App* device = app.add_subcommand("device", "Devices of an account");
    device->require_subcommand(1);
    CLI::App* enroll = device->add_subcommand("enroll", "Make the credentials of a new device of an account");
    auto options = std::make_shared<Options>();
    enroll->add_option("--account", options->account, "The account's directory")->required()->type_name("DIR");
    // The name hides the device choice of the same name: here it is where the credentials go.
    enroll->add_option("--directory", options->directory, "A new directory for the credentials")
        ->required()
        ->type_name("DIR");
    enroll->add_option("--udid", options->udid, "The device's identity; a new one by default")->type_name("UDID");
    enroll->callback([&run, options] {
        run = [options] {
            return ZYNE::Cli::EnrollDevice(options->account, options->directory, options->udid);
        };
    });
}

int Fail(const std::string& problem, int status) {
    std::string line;
    ZYNE::AppendPrintable(line, problem);
    std::cerr << "collabctl: " << line << (status == WRONG_USAGE ? " (see collabctl --help)" : "") << '\n';
    return status;
}

// The parser misses a command before it looks at the words that are none.
std::string Problem(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    return unknown.empty() ? error.what() : unknown.front() + " is not known here";
}

int Main(int argc, char** argv) {
    DeviceChoice device;
    Run run;
    CLI::App app("Asks a device of this user, shows its log, and makes accounts and their devices.", "collabctl");
    app.set_version_flag("--version", COLLAB_VERSION);
    app.set_help_all_flag("--help-all", "Print the help of every command");
    app.require_subcommand(1);
    app.fallthrough();
    CLI::Option* name =
        app.add_option("--device", device.name, "The running device to ask, by name")->type_name("NAME");
    app.add_option("--directory", device.directory, "The same by its state directory")
        ->type_name("DIR")
        ->excludes(name);
    AddDevices(app, device, run);
    AddInfo(app, device, run);
    AddLog(app, device, run);
    AddAccount(app, run);
    AddDevice(app, run);
    app.footer(FOOTER);  // the commands would take it over if they were added later
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return error.get_exit_code() == 0 ? app.exit(error) : Fail(Problem(app, error), WRONG_USAGE);
    }
    return run();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Main(argc, argv);
    } catch (const std::exception& error) {
        return Fail(error.what(), FAILED);
    }
}
