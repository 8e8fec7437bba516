// Commands that make accounts and their devices, and revoke devices.
#include <memory>
#include <string>

#include "cli/options.h"

namespace ZYNE::Cli {
namespace {

void AddCreate(CLI::App& account, Run& run) {
    struct Options {
        std::string directory;
        std::string name;
    };
    CLI::App* create = account.add_subcommand("create", "Make an account: the authority that signs its devices");
    auto options = std::make_shared<Options>();
    create->add_option("DIRECTORY", options->directory, "A new directory for the account; keep it secret")->required();
    create->add_option("--name", options->name, "The account's name")->required()->type_name("NAME");
    create->callback([&run, options] {
        run = [options] {
            return CreateAccount(options->directory, options->name);
        };
    });
}

void AddRevoke(CLI::App& account, const DeviceChoice& device, Run& run) {
    struct Options {
        std::string directory;
        std::string udid;
    };
    CLI::App* revoke = account.add_subcommand(
        "revoke", "Have no device of the account trust one of them any more, and tell those that run here");
    auto options = std::make_shared<Options>();
    revoke->add_option("DIRECTORY", options->directory, "The account's directory")->required();
    revoke->add_option("UDID", options->udid, "The device's whole udid, as in the file udid of its credentials")
        ->required();
    revoke->callback([&device, &run, options] {
        run = [&device, options] {
            return RevokeDevice(device, options->directory, options->udid);
        };
    });
}

void AddPublish(CLI::App& account, const DeviceChoice& device, Run& run) {
    CLI::App* publish =
        account.add_subcommand("publish", "Tell devices of the account that run here which of them are revoked");
    auto directory = std::make_shared<std::string>();
    publish->add_option("DIRECTORY", *directory, "The account's directory")->required();
    publish->callback([&device, &run, directory] {
        run = [&device, directory] {
            return PublishRevocations(device, *directory);
        };
    });
}

struct DeviceOptions {
    std::string account;
    std::string directory;
    std::string udid;
};

// What enroll and renew have in common. The second name hides the device choice of the same name: here it is where the
// credentials are.
void AddDirectories(CLI::App& command, DeviceOptions& options, const char* directory) {
    command.add_option("--account", options.account, "The account's directory")->required()->type_name("DIR");
    command.add_option("--directory", options.directory, directory)->required()->type_name("DIR");
}

void AddEnroll(CLI::App& device, Run& run) {
    CLI::App* enroll = device.add_subcommand("enroll", "Make the credentials of a new device of an account");
    auto options = std::make_shared<DeviceOptions>();
    AddDirectories(*enroll, *options, "A new directory for the credentials");
    enroll->add_option("--udid", options->udid, "The device's identity; a new one by default")->type_name("UDID");
    enroll->callback([&run, options] {
        run = [options] {
            return EnrollDevice(options->account, options->directory, options->udid);
        };
    });
}

void AddRenew(CLI::App& device, Run& run) {
    CLI::App* renew = device.add_subcommand("renew",
        "Give a device of the account a new certificate, and whatever credentials of an earlier version do not have");
    auto options = std::make_shared<DeviceOptions>();
    AddDirectories(*renew, *options, "The directory of its credentials");
    renew->callback([&run, options] {
        run = [options] {
            return RenewDevice(options->account, options->directory);
        };
    });
}

}  // namespace

void AddAccount(CLI::App& app, const DeviceChoice& device, Run& run) {
    CLI::App* account = app.add_subcommand("account", "Accounts: what devices that trust each other share");
    account->require_subcommand(1);
    AddCreate(*account, run);
    AddRevoke(*account, device, run);
    AddPublish(*account, device, run);
}

void AddDevice(CLI::App& app, Run& run) {
    CLI::App* device = app.add_subcommand("device", "Devices of an account");
    device->require_subcommand(1);
    AddEnroll(*device, run);
    AddRenew(*device, run);
}

}  // namespace ZYNE::Cli
