#include <iostream>
#include <string>
#include <vector>

#include <json/value.h>

#include "cli/commands.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/device_client.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

struct Status {
    std::string name;
    std::string type;
    std::string accountMode;
    std::vector<std::string> online;
    Client::Setup setup;
};

Status ReadStatus(Client::DeviceClient& device) {
    Status status{device.Name(), device.Type(), device.AccountMode(), {}, device.GetSetup()};
    for (const Client::Peer& peer : device.ListPeers()) {
        if (peer.online) {
            status.online.push_back(peer.name);
        }
    }
    return status;
}

void PrintLine(const char* heading, const std::string& text) {
    std::string line = heading;
    AppendPrintable(line, text);
    std::cout << line << '\n';
}

void PrintSettings(const Client::Setup& setup) {
    TextTable table({"SETTING", "VALUE", "IN THE WAY"});
    for (const Client::SetupSetting& setting : setup.settings) {
        table.AddRow({setting.name, setting.isSet ? setting.value : "(not set)", setting.isInTheWay ? "yes" : "no"});
    }
    table.Print(std::cout);
}

void PrintText(const Status& status) {
    std::string peers;
    for (const std::string& peer : status.online) {
        peers += (peers.empty() ? "" : ", ") + peer;
    }
    PrintLine("NAME          ", status.name);
    PrintLine("TYPE          ", status.type);
    PrintLine("ACCOUNT MODE  ", status.accountMode);
    PrintLine("PEERS ONLINE  ", peers.empty() ? "none" : peers);
    PrintLine("SET-UP        ", status.setup.complete ? "complete" : "not complete");
    std::cout << '\n';
    PrintSettings(status.setup);
}

Json::Value ToJson(const Status& status) {
    Json::Value root(Json::objectValue);
    root["name"] = status.name;
    root["type"] = status.type;
    root["accountMode"] = status.accountMode;
    Json::Value& online = root["online"] = Json::arrayValue;
    for (const std::string& peer : status.online) {
        online.append(peer);
    }
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

}  // namespace

int ShowStatus(const DeviceChoice& choice, bool json) {
    Client::DeviceClient device(ChooseDevice(choice, false));
    const Status status = ReadStatus(device);
    if (json) {
        PrintJson(ToJson(status));
    } else {
        PrintText(status);
    }
    return 0;
}

}  // namespace ZYNE::Cli
