#include <algorithm>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/text_table.h"

namespace ZYNE::Cli {
namespace {

struct Status {
    std::string name;
    std::string type;
    std::string accountMode;
    std::vector<Client::Peer> online;
    Client::Setup setup;
    Client::Network network;
};

Status ReadStatus(Client::Device& device) {
    Status status{device.Name(), device.Type(), device.AccountMode(), {}, device.GetSetup(), device.GetNetwork()};
    for (Client::Peer& peer : device.Info().ListPeers()) {
        if (peer.online) {
            status.online.push_back(std::move(peer));
        }
    }
    return status;
}

std::string Join(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

// Empty when the peer has gone since.
std::string NameOf(const Client::NetworkLink& link, const std::vector<Client::Peer>& online) {
    const auto peer = std::ranges::find(online, link.peerId, &Client::Peer::id);
    return peer != online.end() ? peer->name : "";
}

void PrintSettings(const Client::Setup& setup) {
    TextTable table({"SETTING", "VALUE", "IN THE WAY"});
    for (const Client::SetupSetting& setting : setup.settings) {
        table.AddRow({setting.name, setting.isSet ? setting.value : "(not set)", setting.isInTheWay ? "yes" : "no"});
    }
    table.Print(std::cout);
}

void PrintNetwork(const Status& status) {
    const Client::Network& network = status.network;
    PrintLine("NETWORK       " + network.state);
    for (const Client::NetworkInterface& interface : network.interfaces) {
        PrintLine("INTERFACE     " + interface.name + "  " + Join(interface.addresses));
    }
    if (network.port != 0) {
        PrintLine("PORT          " + std::to_string(network.port));
    }
    for (const Client::NetworkLink& link : network.links) {
        PrintLine("LINK          " + link.peerId + "  " + link.address + "  " + NameOf(link, status.online));
    }
    for (const Client::NetworkNote& note : network.notes) {
        PrintLine("NOTE          " + note.kind + ": " + note.text);
    }
}

void PrintText(const Status& status) {
    std::vector<std::string> names;
    for (const Client::Peer& peer : status.online) {
        names.push_back(peer.name);
    }
    const std::string peers = Join(names);
    PrintLine("NAME          " + status.name);
    PrintLine("TYPE          " + status.type);
    PrintLine("ACCOUNT MODE  " + status.accountMode);
    PrintLine("PEERS ONLINE  " + (peers.empty() ? "none" : peers));
    PrintLine(std::string("SET-UP        ") + (status.setup.complete ? "complete" : "not complete"));
    PrintNetwork(status);
    std::cout << '\n';
    PrintSettings(status.setup);
}

Json::Value ToJson(const Client::Network& network) {
    Json::Value root(Json::objectValue);
    root["state"] = network.state;
    root["port"] = network.port;
    Json::Value& interfaces = root["interfaces"] = Json::arrayValue;
    for (const Client::NetworkInterface& interface : network.interfaces) {
        Json::Value& entry = interfaces.append(Json::objectValue);
        entry["name"] = interface.name;
        Json::Value& addresses = entry["addresses"] = Json::arrayValue;
        for (const std::string& address : interface.addresses) {
            addresses.append(address);
        }
    }
    Json::Value& links = root["links"] = Json::arrayValue;
    for (const Client::NetworkLink& link : network.links) {
        Json::Value& entry = links.append(Json::objectValue);
        entry["id"] = link.peerId;
        entry["address"] = link.address;
    }
    Json::Value& notes = root["notes"] = Json::arrayValue;
    for (const Client::NetworkNote& note : network.notes) {
        Json::Value& entry = notes.append(Json::objectValue);
        entry["kind"] = note.kind;
        entry["text"] = note.text;
    }
    return root;
}

Json::Value ToJson(const Status& status) {
    Json::Value root(Json::objectValue);
    root["name"] = status.name;
    root["type"] = status.type;
    root["accountMode"] = status.accountMode;
    Json::Value& online = root["online"] = Json::arrayValue;
    for (const Client::Peer& peer : status.online) {
        online.append(peer.name);
    }
    root["network"] = ToJson(status.network);
    root["setupComplete"] = status.setup.complete;
    Json::Value& settings = root["settings"] = Json::arrayValue;
    for (const Client::SetupSetting& setting : status.setup.settings) {
        Json::Value& entry = settings.append(Json::objectValue);
        entry["name"] = setting.name;
        entry["value"] = setting.isSet ? Json::Value(setting.value) : Json::Value();
        entry["inTheWay"] = setting.isInTheWay;
    }
    return root;
}

int ShowStatus(Client::Device& device, const JsonOption& options) {
    const Status status = ReadStatus(device);
    if (options.json) {
        PrintJson(ToJson(status));
    } else {
        PrintText(status);
    }
    return 0;
}

}  // namespace

void AddStatus(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("status", "Show the device, its peers, and whether its set-up is complete");
    SetAction(*command, line, std::make_shared<JsonOption>(), ShowStatus);
}

}  // namespace ZYNE::Cli
