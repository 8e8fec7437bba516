#include <iostream>

#include <json/value.h>

#include "cli/crossing_commands.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/crossing_client.h"

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

}  // namespace

int ListUsers(const DeviceChoice& choice, bool json) {
    Client::CrossingClient device(ChooseDevice(choice, false));
    const std::vector<Client::User> users = device.ListUsers();
    if (json) {
        PrintJson(ToJson(users));
    } else {
        PrintTable(users);
    }
    return 0;
}

int SwitchUser(const DeviceChoice& choice, int32_t user, bool json) {
    Client::CrossingClient device(ChooseDevice(choice, false));
    device.SwitchUser(user);
    if (json) {
        PrintJson(ToJson(device.ListUsers()));
    }
    return 0;
}

}  // namespace ZYNE::Cli
