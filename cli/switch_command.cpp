#include <iostream>

#include <json/value.h>

#include "cli/crossing_commands.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/crossing_client.h"

namespace ZYNE::Cli {
namespace {

void PrintTable(const std::string& device, const Client::Switches& switches) {
    TextTable table({"DEVICE", "SWITCH", "OF"});
    table.AddRow({device, switches.isOn ? "on" : "off", "user " + std::to_string(switches.user) + " of this device"});
    for (const Client::PeerSwitch& each : switches.peers) {
        table.AddRow({each.peer.name, each.state, "peer " + each.peer.id});
    }
    table.Print(std::cout);
}

Json::Value ToJson(int32_t user, bool isOn) {
    Json::Value root(Json::objectValue);
    root["user"] = user;
    root["on"] = isOn;
    return root;
}

Json::Value ToJson(const std::vector<Client::PeerSwitch>& peers) {
    Json::Value list(Json::arrayValue);
    for (const Client::PeerSwitch& each : peers) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["name"] = each.peer.name;
        entry["id"] = each.peer.id;
        entry["switch"] = each.state;
    }
    return list;
}

}  // namespace

int PutSwitch(const DeviceChoice& choice, bool isOn, std::optional<int32_t> user, bool json) {
    const int32_t owner = Client::CrossingClient(ChooseDevice(choice, false)).SetSwitch(isOn, user);
    if (json) {
        PrintJson(ToJson(owner, isOn));
    }
    return 0;
}

int ShowSwitches(const DeviceChoice& choice, std::optional<int32_t> user, bool json) {
    const Client::DeviceEntry device = ChooseDevice(choice, false);
    const Client::Switches switches = Client::CrossingClient(device).GetSwitch(user);
    if (json) {
        Json::Value root = ToJson(switches.user, switches.isOn);
        root["peers"] = ToJson(switches.peers);
        PrintJson(root);
    } else {
        PrintTable(device.name, switches);
    }
    return 0;
}

}  // namespace ZYNE::Cli
