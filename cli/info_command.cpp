#include <algorithm>
#include <iostream>

#include <json/value.h>

#include "cli/commands.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/device_client.h"

namespace ZYNE::Cli {
namespace {

constexpr const char* NO_VALUE = "(no value)";

std::string Meaning(int32_t code) {
    switch (code) {
    case 0:
        return "success";
    case 2201:
        return "no answer within five seconds";
    case 2203:
        return "the request could not be sent: the peer is gone";
    case 2205:
        return "the answer does not fit the question";
    default:
        return "unknown result";
    }
}

void PrintTable(const Client::InfoAnswer& answer) {
    TextTable table({"KEY", "VALUE"});
    for (const auto& [name, value] : answer.records) {
        table.AddRow({name, value.empty() ? NO_VALUE : value});
    }
    table.Print(std::cout);
    const bool someMissing =
        std::ranges::any_of(answer.records, [](const auto& record) { return record.second.empty(); });
    if (someMissing) {
        std::cerr << NO_VALUE
                  << ": unknown on the peer, or its provider does not run or did not answer in time: ask again.\n"
                     "A service that died is started again, at once or within half a minute.\n";
    }
}

Json::Value ToJson(const Client::InfoAnswer& answer) {
    Json::Value root(Json::objectValue);
    root["code"] = answer.code;
    root["meaning"] = Meaning(answer.code);
    Json::Value& records = root["records"] = Json::arrayValue;
    for (const auto& [name, value] : answer.records) {
        Json::Value& entry = records.append(Json::objectValue);
        entry["name"] = name;
        entry["value"] = value;
    }
    return root;
}

}  // namespace

int GetInfo(const DeviceChoice& choice, const std::string& peer, const std::vector<std::string>& names,
    std::chrono::seconds timeout, bool json) {
    Client::DeviceClient device(ChooseDevice(choice, false), timeout);
    const Client::InfoAnswer answer = device.GetInfo(peer, names);
    if (json) {
        PrintJson(ToJson(answer));
    } else if (answer.code == 0) {
        PrintTable(answer);
    }
    if (answer.code != 0) {
        throw CommandError("result " + std::to_string(answer.code) + ": " + Meaning(answer.code));
    }
    return 0;
}

}  // namespace ZYNE::Cli
