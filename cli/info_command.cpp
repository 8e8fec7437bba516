#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iostream>
#include <set>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/text_table.h"

namespace ZYNE::Cli {
namespace {

constexpr const char* NO_VALUE = "(no value)";
constexpr size_t MAX_NAMES = 1024;  // more a peer refuses
constexpr unsigned MAX_SECONDS = 3600;

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

struct Options {
    std::string peer;
    std::vector<std::string> names;
    unsigned timeout = 10;
    bool json = false;
};

void CheckNames(const std::vector<std::string>& names) {
    if (names.size() > MAX_NAMES) {
        throw CLI::ValidationError("NAME", "at most " + std::to_string(MAX_NAMES) + " items can be asked at once");
    }
    std::set<std::string> seen;
    for (const std::string& name : names) {
        if (name.empty() || !seen.insert(name).second) {
            throw CLI::ValidationError("NAME", name.empty() ? "is empty" : name + " is given twice");
        }
    }
}

int GetInfo(const DeviceChoice& choice, const Options& options) {
    Client::Device device(ChooseDevice(choice), std::chrono::seconds(options.timeout));
    const Client::InfoAnswer answer = device.Info().Get(options.peer, options.names);
    if (options.json) {
        PrintJson(ToJson(answer));
    } else if (answer.code == 0) {
        PrintTable(answer);
    }
    if (answer.code != 0) {
        throw CommandError("result " + std::to_string(answer.code) + ": " + Meaning(answer.code));
    }
    return 0;
}

}  // namespace

void AddInfo(CLI::App& app, CommandLine& line) {
    CLI::App* info = app.add_subcommand("info", "Info of peers");
    info->require_subcommand(1);
    CLI::App* get = info->add_subcommand("get", "Ask a peer for items of its info and print their values");
    auto options = std::make_shared<Options>();
    get->add_option("PEER", options->peer, "The peer: its name, or its id as 'devices' shows it")->required();
    get->add_option("NAME", options->names, "Items to ask for")->required();
    get->add_option("--timeout", options->timeout, "Seconds to wait for the device (the device gives the peer five)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, MAX_SECONDS))
        ->capture_default_str();
    get->add_flag("--json", options->json, "Print JSON");
    get->parse_complete_callback([options] { CheckNames(options->names); });
    SetAction(*get, line, options, GetInfo);
}

}  // namespace ZYNE::Cli
