#include <iostream>

#include <json/value.h>

#include "cli/crossing_commands.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/crossing_client.h"
#include "client/device_client.h"

namespace ZYNE::Cli {
namespace {

// Where a user's switch is kept, and where a device publishes it.
constexpr const char* SETTING = "peer_desk_state";
constexpr const char* ON = "1";
constexpr const char* OFF = "0";
constexpr const char* SERVICE = "SwitchStatus_Key_Mouse_Edge_Crossing";
constexpr const char* KEY = "SwitchStatus";

struct PeerSwitch {
    Client::Peer peer;
    std::string state;  // on, off, or unknown
};

int32_t ChooseUser(const Client::DeviceEntry& device, std::optional<int32_t> wanted) {
    if (!wanted) {
        return Client::CrossingClient(device).ForegroundUser();
    }
    CheckUser(device, *wanted);
    return *wanted;
}

// Anything but a 1 counts as off, and so does a switch that nobody ever touched.
bool ReadSwitch(Client::DeviceClient& device, int32_t user) {
    try {
        return device.GetSetting(SETTING, user) == ON;
    } catch (const Client::NotFound&) {
        return false;
    }
}

std::vector<PeerSwitch> ReadPeers(Client::DeviceClient& device) {
    std::vector<PeerSwitch> switches;
    for (const Client::Peer& peer : device.ListPeers()) {
        if (peer.online) {
            const auto value = device.GetProfile(peer.id, SERVICE, "", KEY);
            switches.push_back({peer, !value ? "unknown" : *value == ON ? "on" : "off"});
        }
    }
    return switches;
}

void PrintTable(const std::string& device, int32_t user, bool isOn, const std::vector<PeerSwitch>& peers) {
    TextTable table({"DEVICE", "SWITCH", "OF"});
    table.AddRow({device, isOn ? "on" : "off", "user " + std::to_string(user) + " of this device"});
    for (const PeerSwitch& each : peers) {
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

Json::Value ToJson(const std::vector<PeerSwitch>& peers) {
    Json::Value list(Json::arrayValue);
    for (const PeerSwitch& each : peers) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["name"] = each.peer.name;
        entry["id"] = each.peer.id;
        entry["switch"] = each.state;
    }
    return list;
}

}  // namespace

int PutSwitch(const DeviceChoice& choice, bool isOn, std::optional<int32_t> user, bool json) {
    const Client::DeviceEntry entry = ChooseDevice(choice, false);
    const int32_t owner = ChooseUser(entry, user);
    Client::DeviceClient(entry).PutSetting(SETTING, isOn ? ON : OFF, owner);
    if (json) {
        PrintJson(ToJson(owner, isOn));
    }
    return 0;
}

int ShowSwitches(const DeviceChoice& choice, std::optional<int32_t> user, bool json) {
    const Client::DeviceEntry entry = ChooseDevice(choice, false);
    const int32_t owner = ChooseUser(entry, user);
    Client::DeviceClient device(entry);
    const bool isOn = ReadSwitch(device, owner);
    const std::vector<PeerSwitch> peers = ReadPeers(device);
    if (json) {
        Json::Value root = ToJson(owner, isOn);
        root["peers"] = ToJson(peers);
        PrintJson(root);
    } else {
        PrintTable(entry.name, owner, isOn, peers);
    }
    return 0;
}

}  // namespace ZYNE::Cli
