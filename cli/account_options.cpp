// Commands that make accounts and their devices.
#include <memory>
#include <string>

#include "cli/options.h"

namespace ZYNE::Cli {

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
            return CreateAccount(options->directory, options->name);
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
            return EnrollDevice(options->account, options->directory, options->udid);
        };
    });
}

}  // namespace ZYNE::Cli
