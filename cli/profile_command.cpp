#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/standard_input.h"
#include "cli/text_table.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

constexpr size_t MAX_SHOWN_BYTES = 80;
constexpr const char* DEVICE_HELP = "A peer, by its name or its id as 'devices' shows it, or the device itself";

struct Options {
    std::string device;
    std::string service;
    std::string serviceType;
    std::string key;
    std::string value;
    bool json = false;
};

std::string Meaning(int32_t code) {
    switch (code) {
    case 0:
        return "success";
    case -1:
        return "the device is starting or ending";
    case 1:
        return "a name has a zero byte";
    case 2:
        return "the value would be another device's";
    case 3:
        return "a name has more than 255 bytes, the value more than 4 MiB, or the profile more than 16 MiB";
    case 4:
        return "the profile has as many values as it can have";
    case 5:
        return "there is no such value";
    case 7:
        return "the device cannot store it, see its log";
    case 98566160:
        return "the device's profile is not ready yet";
    default:
        return "unknown result";
    }
}

// As much of a value as a table has room for.
std::string Shown(const Client::ProfileEntry& entry) {
    const std::string_view beginning = CutText(entry.value, MAX_SHOWN_BYTES);
    const bool whole = entry.whole && beginning.size() == entry.value.size();
    return std::string(beginning) + (whole ? "" : "...");
}

void PrintTable(const std::vector<Client::ProfileEntry>& entries) {
    if (entries.empty()) {
        std::cout << "nothing is known\n";
        return;
    }
    TextTable table({"DEVICE", "ID", "SERVICE", "TYPE", "KEY", "VALUE"});
    for (const Client::ProfileEntry& entry : entries) {
        table.AddRow({entry.deviceName, entry.deviceId, entry.service, entry.serviceType, entry.key, Shown(entry)});
    }
    table.Print(std::cout);
}

Json::Value ToJson(const std::vector<Client::ProfileEntry>& entries) {
    Json::Value list(Json::arrayValue);
    for (const Client::ProfileEntry& entry : entries) {
        Json::Value& item = list.append(Json::objectValue);
        item["device"] = entry.deviceName;
        item["id"] = entry.deviceId;
        item["service"] = entry.service;
        item["type"] = entry.serviceType;
        item["key"] = entry.key;
        item["value"] = entry.value;
        item["whole"] = entry.whole;
    }
    return list;
}

// The end of a command that changes the profile.
int Conclude(int32_t code, bool json) {
    if (json) {
        Json::Value result(Json::objectValue);
        result["code"] = code;
        result["meaning"] = Meaning(code);
        PrintJson(result);
    }
    if (code != 0) {
        throw CommandError("result " + std::to_string(code) + ": " + Meaning(code));
    }
    return 0;
}

int GetProfile(Client::Device& device, const Options& options) {
    const auto value = device.Profiles().Get(options.device, options.service, options.serviceType, options.key);
    if (options.json) {
        Json::Value result(Json::objectValue);
        result["known"] = value.has_value();
        result["value"] = value.value_or("");
        PrintJson(result);
    }
    if (!value) {
        throw CommandError(
            "nothing is known of " + options.key + " under the service " + options.service + " of " + options.device);
    }
    if (!options.json) {
        PrintLine(*value);
    }
    return 0;
}

int PutProfile(Client::Device& device, const Options& options) {
    const std::string value = OrStandardInput(options.value);
    return Conclude(device.Profiles().Put(options.service, options.serviceType, options.key, value), options.json);
}

int DeleteProfile(Client::Device& device, const Options& options) {
    return Conclude(device.Profiles().Delete(options.service, options.key), options.json);
}

int ListProfiles(Client::Device& device, const Options& options) {
    const std::vector<Client::ProfileEntry> entries = device.Profiles().List(options.device);
    if (options.json) {
        PrintJson(ToJson(entries));
    } else {
        PrintTable(entries);
    }
    return 0;
}

void AddKey(CLI::App* command, Options& options) {
    command->add_option("KEY", options.key, "The value's name under its service")->required();
}

void AddService(CLI::App* command, Options& options) {
    command->add_option("--service", options.service, "The service that the value belongs to")
        ->required()
        ->type_name("SERVICE");
}

CLI::Option* AddType(CLI::App* command, Options& options) {
    return command->add_option("--type", options.serviceType, "The service's type")->type_name("TYPE");
}

void AddGet(CLI::App& profile, CommandLine& line) {
    CLI::App* command = profile.add_subcommand("get", "Print one value of a profile");
    auto options = std::make_shared<Options>();
    command->add_option("DEVICE", options->device, DEVICE_HELP)->required();
    AddKey(command, *options);
    AddService(command, *options);
    AddType(command, *options);
    SetAction(*command, line, options, GetProfile);
}

void AddPut(CLI::App& profile, CommandLine& line) {
    CLI::App* command = profile.add_subcommand("put", "Publish a value in the device's own profile");
    auto options = std::make_shared<Options>();
    AddKey(command, *options);
    command->add_option("VALUE", options->value, "The value; - reads standard input to its end")->required();
    AddService(command, *options);
    AddType(command, *options)->required();
    SetAction(*command, line, options, PutProfile);
}

void AddDelete(CLI::App& profile, CommandLine& line) {
    CLI::App* command = profile.add_subcommand("delete", "Take a value out of the device's own profile");
    auto options = std::make_shared<Options>();
    AddKey(command, *options);
    AddService(command, *options);
    SetAction(*command, line, options, DeleteProfile);
}

void AddList(CLI::App& profile, CommandLine& line) {
    CLI::App* command = profile.add_subcommand("list", "List what is known of every device's profile, or of one's");
    auto options = std::make_shared<Options>();
    command->add_option("DEVICE", options->device, DEVICE_HELP);
    SetAction(*command, line, options, ListProfiles);
}

}  // namespace

void AddProfile(CLI::App& app, CommandLine& line) {
    CLI::App* profile = app.add_subcommand("profile", "Profiles: values that a device publishes for its peers");
    profile->require_subcommand(1);
    AddGet(*profile, line);
    AddPut(*profile, line);
    AddDelete(*profile, line);
    AddList(*profile, line);
    AddProfileWatch(*profile, line);
}

}  // namespace ZYNE::Cli
