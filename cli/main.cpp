// collabctl: asks a device, shows its log, and makes accounts and their devices.
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/command.h"
#include "platform/log/printable_text.h"

namespace {

constexpr int FAILED = 1;
constexpr int WRONG_USAGE = 2;

constexpr const char* FOOTER = R"(
Exit status: 0 done; 1 failed, with one line on standard error; 2 wrong usage; 3 the device answered no: crossing does
not start (explain), or a request has another result than 0 (request).

Examples:
  collabctl devices                              with one device running, --device may be left out
  collabctl --device Phone devices --json
  collabctl --device Phone info get Desk os.name os.uptime
  collabctl --device Phone profile put volume 7 --service sound --type audio
  collabctl --device Desk profile watch Phone
  collabctl --device Phone setting put user_setup_complete 1
  collabctl --device Phone switch on
  collabctl --device Phone desk place Desk right
  collabctl --device Phone explain Desk
  collabctl --device Desk watch keyboard edge
  collabctl --device Phone log --follow
  collabctl account create ~/account --name Home
  collabctl device enroll --account ~/account --directory ~/phone-credentials
  collabctl account revoke ~/account 4f1c90be77a2)";

int Fail(const std::string& problem, int status) {
    std::string line;
    ZYNE::AppendPrintable(line, problem);
    std::cerr << "collabctl: " << line << '\n';
    return status;
}

// The command as far as it was understood.
std::string Command(const CLI::App& app) {
    std::string command = app.get_name();
    for (const CLI::App* inner : app.get_subcommands()) {
        command += ' ' + Command(*inner);
    }
    return command;
}

// A descriptor that the caller closed would be the next socket's, and what is printed would go there.
void KeepStandardDescriptors() {
    for (const auto& [descriptor, mode] :
        {std::pair(STDIN_FILENO, O_WRONLY), std::pair(STDOUT_FILENO, O_RDONLY), std::pair(STDERR_FILENO, O_RDONLY)}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            open("/dev/null", mode);  // the lowest that is free: this one; using it fails, as before
        }
    }
}

// The parser misses a command before it looks at the words that are none.
std::string Problem(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    return unknown.empty() ? error.what() : unknown.front() + " is not known here";
}

int Main(int argc, char** argv) {
    ZYNE::Cli::CommandLine line;
    CLI::App app("Asks a device of this user, shows its log, and makes accounts and their devices.", "collabctl");
    app.set_version_flag("--version", COLLAB_VERSION);
    app.set_help_all_flag("--help-all", "Print the help of every command");
    app.require_subcommand(1);
    app.fallthrough();
    CLI::Option* name =
        app.add_option("--device", line.device.name, "The running device to ask, by name")->type_name("NAME");
    app.add_option("--directory", line.device.directory, "The same by its state directory")
        ->type_name("DIR")
        ->excludes(name);
    ZYNE::Cli::AddDevices(app, line);
    ZYNE::Cli::AddStatus(app, line);
    ZYNE::Cli::AddInfo(app, line);
    ZYNE::Cli::AddProfile(app, line);
    ZYNE::Cli::AddSetting(app, line);
    ZYNE::Cli::AddSwitch(app, line);
    ZYNE::Cli::AddDesk(app, line);
    ZYNE::Cli::AddExplain(app, line);
    ZYNE::Cli::AddCompanion(app, line);
    ZYNE::Cli::AddWatch(app, line);
    ZYNE::Cli::AddRequest(app, line);
    ZYNE::Cli::AddUser(app, line);
    ZYNE::Cli::AddScreen(app, line);
    ZYNE::Cli::AddInput(app, line);
    ZYNE::Cli::AddLog(app, line);
    ZYNE::Cli::AddAccount(app, line);
    ZYNE::Cli::AddDevice(app, line);
    app.footer(FOOTER);  // the commands would take it over if they were added later
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return error.get_exit_code() == 0
            ? app.exit(error)
            : Fail(Problem(app, error) + " (see " + Command(app) + " --help)", WRONG_USAGE);
    }
    return line.run();
}

}  // namespace

int main(int argc, char** argv) {
    KeepStandardDescriptors();
    try {
        const int status = Main(argc, argv);
        std::cout.flush();
        return std::cout ? status : Fail("standard output cannot be written", FAILED);
    } catch (const ZYNE::Cli::Refusal& refusal) {
        return Fail(refusal.what(), ZYNE::Cli::STATUS_OF_NO);
    } catch (const std::exception& error) {
        return Fail(error.what(), FAILED);
    }
}
