#include <iostream>

#include "cli/command.h"
#include "linux/account/account.h"
#include "linux/account/udid.h"

namespace ZYNE::Cli {
namespace {

struct Options {
    std::string account;
    std::string directory;
    std::string udid;
};

int EnrollDevice(const DeviceChoice& /*choice*/, const Options& options) {
    if (!options.udid.empty() && !Linux::IsUdid(options.udid)) {
        throw CommandError("a udid has 8 to 64 letters, digits, \"-\" and \"_\"");
    }
    const std::string udid = options.udid.empty() ? Linux::NewUdid() : options.udid;
    Linux::EnrollDevice(options.account, options.directory, udid);
    std::cout << "The device's credentials are in " << options.directory << ". Name them in its configuration.\n"
              << "Note what the file udid in it says: should the device be lost, it is revoked by that.\n";
    return 0;
}

int RenewDevice(const DeviceChoice& /*choice*/, const Options& options) {
    Linux::RenewDevice(options.account, options.directory);
    std::cout << "The device's credentials in " << options.directory
              << " are renewed. It uses them from its next start on.\n";
    return 0;
}

// The second name hides the device choice of the same name: here it is where the credentials are.
void AddDirectories(CLI::App& command, Options& options, const char* directory) {
    command.add_option("--account", options.account, "The account's directory")->required()->type_name("DIR");
    command.add_option("--directory", options.directory, directory)->required()->type_name("DIR");
}

void AddEnroll(CLI::App& device, CommandLine& line) {
    CLI::App* enroll = device.add_subcommand("enroll", "Make the credentials of a new device of an account");
    auto options = std::make_shared<Options>();
    AddDirectories(*enroll, *options, "A new directory for the credentials");
    enroll->add_option("--udid", options->udid, "The device's identity; a new one by default")->type_name("UDID");
    SetAction(*enroll, line, options, EnrollDevice);
}

void AddRenew(CLI::App& device, CommandLine& line) {
    CLI::App* renew = device.add_subcommand("renew",
        "Give a device of the account a new certificate, and whatever credentials of an earlier version do not have");
    auto options = std::make_shared<Options>();
    AddDirectories(*renew, *options, "The directory of its credentials");
    SetAction(*renew, line, options, RenewDevice);
}

}  // namespace

void AddDevice(CLI::App& app, CommandLine& line) {
    CLI::App* device = app.add_subcommand("device", "Devices of an account");
    device->require_subcommand(1);
    AddEnroll(*device, line);
    AddRenew(*device, line);
}

}  // namespace ZYNE::Cli
