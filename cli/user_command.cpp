#include <cstdint>
#include <iostream>
#include <limits>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/text_table.h"

namespace ZYNE::Cli {
namespace {

void PrintTable(const std::vector<Client::User>& users) {
    TextTable table({"USER", "NAME", "ACCOUNT", "FOREGROUND"});
    for (const Client::User& user : users) {
        table.AddRow({std::to_string(user.id), user.name, user.isPrivate ? "private" : "normal",
            user.isForeground ? "yes" : "no"});
    }
    table.Print(std::cout);
}

Json::Value ToJson(const std::vector<Client::User>& users) {
    Json::Value list(Json::arrayValue);
    for (const Client::User& user : users) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["user"] = user.id;
        entry["name"] = user.name;
        entry["private"] = user.isPrivate;
        entry["foreground"] = user.isForeground;
    }
    return list;
}

struct Options {
    int32_t user = 0;
    bool json = false;
};

int ListUsers(Client::Device& device, const JsonOption& options) {
    const std::vector<Client::User> users = device.Crossing().ListUsers();
    if (options.json) {
        PrintJson(ToJson(users));
    } else {
        PrintTable(users);
    }
    return 0;
}

int SwitchUser(Client::Device& device, const Options& options) {
    device.Crossing().SwitchUser(options.user);
    if (options.json) {
        PrintJson(ToJson(device.Crossing().ListUsers()));
    }
    return 0;
}

}  // namespace

void AddUser(CLI::App& app, CommandLine& line) {
    CLI::App* user = app.add_subcommand("user", "Users of the device");
    user->require_subcommand(1);
    SetAction(*user->add_subcommand("list", "List them"), line, std::make_shared<JsonOption>(), ListUsers);
    CLI::App* toForeground = user->add_subcommand("switch", "Bring a user to the foreground");
    auto options = std::make_shared<Options>();
    toForeground->add_option("USER", options->user, "The user's number")
        ->required()
        ->check(CLI::Range(0, std::numeric_limits<int32_t>::max()));
    SetAction(*toForeground, line, options, SwitchUser);
}

}  // namespace ZYNE::Cli
