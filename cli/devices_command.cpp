#include <iostream>

#include <json/value.h>

#include "cli/commands.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/device_client.h"

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

}  // namespace

int ShowDevices(const DeviceChoice& choice, bool json) {
    Client::DeviceClient device(ChooseDevice(choice, false));
    const std::vector<Client::Peer> peers = device.ListPeers();
    if (json) {
        PrintJson(ToJson(peers));
    } else {
        PrintTable(peers);
    }
    return 0;
}

}  // namespace ZYNE::Cli
