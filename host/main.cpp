// collabd: one device.
#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <sys/resource.h>

#include "host/config.h"
#include "host/config_check.h"
#include "host/daemon.h"
#include "linux/device/process_guard.h"
#include "linux/services/orphans.h"
#include "platform/log/printable_text.h"

namespace {

constexpr int FAILED = 1;
constexpr int WRONG_USAGE = 2;

constexpr const char* FOOTER = R"(
Stops on SIGTERM, SIGINT and SIGHUP, within five seconds.
Exit status: 0 stopped; 1 could not start, lost its bus, or was stuck while it stopped; 2 wrong usage or configuration.
Ends with SIGABRT when its network has hung for ten seconds, to be started anew.

Example:
  collabd --config phone.toml)";

int Fail(const std::string& problem, int status) {
    std::string line;
    ZYNE::AppendPrintable(line, problem);
    std::cerr << "collabd: " << line << '\n';
    return status;
}

// Each link takes a descriptor, and so does each connection that may become one. With too few even the start would fail
// half-way, or abort.
void AllowManyDescriptors() {
    constexpr rlim_t WANTED = 4096;
    constexpr rlim_t LEAST = 128;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return;
    }
    if (limit.rlim_cur < WANTED) {
        limit.rlim_cur = std::min(WANTED, limit.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (limit.rlim_cur < LEAST) {
        throw std::runtime_error("the limit of " + std::to_string(limit.rlim_cur) +
            " open files is too low for a device, which needs " + std::to_string(LEAST));
    }
}

int RunDevice(const ZYNE::Host::Config& config) {
    AllowManyDescriptors();
    ZYNE::Linux::Orphans::Adopt();
    std::signal(SIGPIPE, SIG_IGN);  // standard error may be a pipe whose reader has gone
    ZYNE::Host::Daemon daemon(config);
    const ZYNE::Linux::ProcessGuard guard({.lastRound = [&daemon] {
        return daemon.LastRound();
    }});
    daemon.Start();
    guard.WaitForStop();
    return daemon.Stop() ? 0 : FAILED;
}

int Check(const std::string& file, const ZYNE::Host::Config& config) {
    const std::vector<std::string> mistakes = ZYNE::Host::FindMistakes(config);
    for (const std::string& mistake : mistakes) {
        Fail(mistake, WRONG_USAGE);
    }
    if (!mistakes.empty()) {
        return WRONG_USAGE;
    }
    std::cout << file << ": no mistakes found" << std::endl;
    return std::cout ? 0 : FAILED;
}

int Main(int argc, char** argv) {
    CLI::App app("Runs one device of an account.", "collabd");
    std::string file;
    bool checkOnly = false;
    app.add_option("--config", file, "The device's configuration")->required()->type_name("FILE");
    app.add_flag("--check", checkOnly, "Check the configuration and the files that it names, and start nothing");
    app.set_version_flag("--version", COLLAB_VERSION);
    app.footer(FOOTER);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const std::vector<std::string> unknown = app.remaining();
        const std::string problem = unknown.empty() ? error.what() : unknown.front() + " is not a known option";
        return error.get_exit_code() == 0 ? app.exit(error) : Fail(problem + " (see collabd --help)", WRONG_USAGE);
    }
    try {
        const ZYNE::Host::Config config = ZYNE::Host::ReadConfig(file);
        if (checkOnly) {
            return Check(file, config);
        }
        return RunDevice(config);
    } catch (const ZYNE::Host::ConfigError& error) {
        return Fail(error.what(), WRONG_USAGE);
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Main(argc, argv);
    } catch (const std::exception& error) {
        return Fail(error.what(), FAILED);
    }
}
