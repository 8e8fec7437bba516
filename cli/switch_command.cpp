#include <cstdint>
#include <iostream>
#include <limits>
#include <optional>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/text_table.h"

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

struct Options {
    bool isOn = false;  // what `on` and `off` make it
    std::optional<int32_t> user{};
    bool json = false;
};

int PutSwitch(Client::Device& device, const Options& options) {
    const int32_t owner = device.Crossing().SetSwitch(options.isOn, options.user);
    if (options.json) {
        PrintJson(ToJson(owner, options.isOn));
    }
    return 0;
}

int ShowSwitches(Client::Device& device, const Options& options) {
    const Client::Switches switches = device.Crossing().GetSwitch(options.user);
    if (options.json) {
        Json::Value root = ToJson(switches.user, switches.isOn);
        root["peers"] = ToJson(switches.peers);
        PrintJson(root);
    } else {
        PrintTable(device.Entry().name, switches);
    }
    return 0;
}

void AddWord(CLI::App& parent, CommandLine& line, const char* word, const char* description, bool isOn,
    int (*action)(Client::Device&, const Options&)) {
    CLI::App* command = parent.add_subcommand(word, description);
    auto options = std::make_shared<Options>(Options{isOn});
    command->add_option("--user", options->user, "The switch of this user; by default of who is in the foreground")
        ->type_name("N")
        ->check(CLI::Range(0, std::numeric_limits<int32_t>::max()));
    SetAction(*command, line, options, action);
}

}  // namespace

void AddSwitch(CLI::App& app, CommandLine& line) {
    CLI::App* parent = app.add_subcommand("switch", "The switch for crossing of keyboard and mouse");
    parent->require_subcommand(1);
    AddWord(*parent, line, "on", "Switch crossing on", true, PutSwitch);
    AddWord(*parent, line, "off", "Switch crossing off", false, PutSwitch);
    AddWord(*parent, line, "status", "Show the switches of the device and of its peers", false, ShowSwitches);
}

}  // namespace ZYNE::Cli
