// Accounts: making one, and taking the trust in a device of it away.
#include <iostream>
#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/text_table.h"
#include "linux/account/account.h"

namespace ZYNE::Cli {
namespace {

struct Options {
    std::string directory;
    std::string name;
    std::string udid;
};

int CreateAccount(const DeviceChoice& /*choice*/, const Options& options) {
    Linux::CreateAccount(options.directory, options.name);
    std::cout << "The account \"" << options.name << "\" is in " << options.directory
              << ". Keep it secret: who has it can add devices.\n"
                 "Add one with collabctl device enroll --account "
              << options.directory << " --directory DIR.\n";
    return 0;
}

std::vector<Client::DeviceEntry> ChosenDevices(const DeviceChoice& choice) {
    if (!choice.name.empty() || !choice.directory.empty()) {
        return {ChooseDevice(choice)};
    }
    std::vector<Client::DeviceEntry> devices = Client::ListDevices();
    std::erase_if(devices, [](const Client::DeviceEntry& device) { return !device.running; });
    return devices;
}

// Whether the device has the list now.
bool HandOver(const Client::DeviceEntry& device, const std::string& document) {
    try {
        const bool isNews = Client::Device(device).TakeRevocations(document);
        PrintLine(device.name + (isNews ? ": has taken the list" : ": knew it already"));
        return true;
    } catch (const Client::DeviceError& error) {
        PrintLine(device.name + ": has not taken the list: " + error.what());
        return false;
    }
}

// Whether any device has the list now.
bool HandOverToAll(const std::vector<Client::DeviceEntry>& devices, const std::string& document) {
    bool isKnown = false;
    for (const Client::DeviceEntry& device : devices) {
        isKnown = HandOver(device, document) || isKnown;
    }
    return isKnown;
}

// Then hands the list to running devices as PublishRevocations does.
int RevokeDevice(const DeviceChoice& choice, const Options& options) {
    const std::vector<Client::DeviceEntry> devices = ChosenDevices(choice);
    Linux::RevokeDevice(options.directory, options.udid);
    std::cout << "The device is revoked.\n";
    if (!HandOverToAll(devices, Linux::RevocationDocument(options.directory))) {
        std::cout << "No device of the account knows of it yet. Where one runs, hand the list over with\n"
                     "collabctl account publish "
                  << options.directory << "; it tells the others.\n";
    }
    return 0;
}

// To the chosen device, or to all that run when none is chosen. 1 when none of them has the list then.
int PublishRevocations(const DeviceChoice& choice, const Options& options) {
    const std::string document = Linux::RevocationDocument(options.directory);
    if (document.empty()) {
        throw CommandError("the account has revoked no device");
    }
    const std::vector<Client::DeviceEntry> devices = ChosenDevices(choice);
    if (devices.empty()) {
        throw CommandError("no device is running: start one with collabd --config FILE");
    }
    return HandOverToAll(devices, document) ? 0 : 1;
}

CLI::App* AddCommand(
    CLI::App& account, const char* word, const char* description, Options& options, const char* directory) {
    CLI::App* command = account.add_subcommand(word, description);
    command->add_option("DIRECTORY", options.directory, directory)->required();
    return command;
}

void AddCreate(CLI::App& account, CommandLine& line) {
    auto options = std::make_shared<Options>();
    CLI::App* create = AddCommand(account, "create", "Make an account: the authority that signs its devices", *options,
        "A new directory for the account; keep it secret");
    create->add_option("--name", options->name, "The account's name")->required()->type_name("NAME");
    SetAction(*create, line, options, CreateAccount);
}

void AddRevoke(CLI::App& account, CommandLine& line) {
    auto options = std::make_shared<Options>();
    CLI::App* revoke = AddCommand(account, "revoke",
        "Have no device of the account trust one of them any more, and tell those that run here", *options,
        "The account's directory");
    revoke->add_option("UDID", options->udid, "The device's whole udid, as in the file udid of its credentials")
        ->required();
    SetAction(*revoke, line, options, RevokeDevice);
}

void AddPublish(CLI::App& account, CommandLine& line) {
    auto options = std::make_shared<Options>();
    CLI::App* publish = AddCommand(account, "publish",
        "Tell devices of the account that run here which of them are revoked", *options, "The account's directory");
    SetAction(*publish, line, options, PublishRevocations);
}

}  // namespace

void AddAccount(CLI::App& app, CommandLine& line) {
    CLI::App* account = app.add_subcommand("account", "Accounts: what devices that trust each other share");
    account->require_subcommand(1);
    AddCreate(*account, line);
    AddRevoke(*account, line);
    AddPublish(*account, line);
}

}  // namespace ZYNE::Cli
