#include <algorithm>
#include <cstdint>
#include <limits>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/text_table.h"

namespace ZYNE::Cli {
namespace {

struct Options {
    std::string key;
    std::string value;
    int32_t user = Client::Settings::ALL_USERS;
    bool json = false;
};

void CheckUser(Client::Device& device, int32_t user) {
    if (user == Client::Settings::ALL_USERS) {
        return;
    }
    const std::vector<Client::User> users = device.Crossing().ListUsers();
    if (std::ranges::find(users, user, &Client::User::id) == users.end()) {
        throw CommandError("the device has no user " + std::to_string(user));
    }
}

void PrintSetting(const std::string& key, const std::string& value) {
    Json::Value setting(Json::objectValue);
    setting["key"] = key;
    setting["value"] = value;
    PrintJson(setting);
}

int GetSetting(Client::Device& device, const Options& options) {
    CheckUser(device, options.user);
    const std::string value = device.Settings().Get(options.key, options.user);
    if (options.json) {
        PrintSetting(options.key, value);
    } else {
        PrintLine(value);
    }
    return 0;
}

int PutSetting(Client::Device& device, const Options& options) {
    CheckUser(device, options.user);
    device.Settings().Put(options.key, options.value, options.user);
    if (options.json) {
        PrintSetting(options.key, options.value);
    }
    return 0;
}

std::shared_ptr<Options> AddCommon(CLI::App* command) {
    auto options = std::make_shared<Options>();
    command->add_option("KEY", options->key, "The setting's name")->required();
    command->add_option("--user", options->user, "A setting of this user; by default one that all users share")
        ->type_name("N")
        ->check(CLI::Range(0, std::numeric_limits<int32_t>::max()));
    return options;
}

}  // namespace

void AddSetting(CLI::App& app, CommandLine& line) {
    CLI::App* setting = app.add_subcommand("setting", "Settings of the device");
    setting->require_subcommand(1);
    CLI::App* get = setting->add_subcommand("get", "Print a setting");
    SetAction(*get, line, AddCommon(get), GetSetting);
    CLI::App* put = setting->add_subcommand("put", "Give a setting a value; it need not be there yet");
    const auto options = AddCommon(put);
    put->add_option("VALUE", options->value, "The value")->required();
    SetAction(*put, line, options, PutSetting);
}

}  // namespace ZYNE::Cli
