#include <iostream>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/text_table.h"

namespace ZYNE::Cli {
namespace {

const char* YesNo(bool yes) {
    return yes ? "yes" : "no";
}

void PrintTable(const std::vector<Client::Peer>& peers) {
    if (peers.empty()) {
        std::cout << "no other device was seen yet\n";
        return;
    }
    TextTable table({"NAME", "TYPE", "ID", "ONLINE", "SAME ACCOUNT"});
    for (const Client::Peer& peer : peers) {
        table.AddRow({peer.name, peer.type, peer.id, YesNo(peer.online), YesNo(peer.sameAccount)});
    }
    table.Print(std::cout);
}

Json::Value ToJson(const std::vector<Client::Peer>& peers) {
    Json::Value list(Json::arrayValue);
    for (const Client::Peer& peer : peers) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["name"] = peer.name;
        entry["type"] = peer.type;
        entry["id"] = peer.id;
        entry["online"] = peer.online;
        entry["sameAccount"] = peer.sameAccount;
    }
    return list;
}

int ShowDevices(Client::Device& device, const JsonOption& options) {
    const std::vector<Client::Peer> peers = device.Info().ListPeers();
    if (options.json) {
        PrintJson(ToJson(peers));
    } else {
        PrintTable(peers);
    }
    return 0;
}

}  // namespace

void AddDevices(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("devices", "List the peers that the device has seen since it came up");
    SetAction(*command, line, std::make_shared<JsonOption>(), ShowDevices);
}

}  // namespace ZYNE::Cli
