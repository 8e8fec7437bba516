#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

#include "cli/commands.h"
#include "cli/json_output.h"
#include "cli/standard_input.h"
#include "cli/text_table.h"
#include "client/device_client.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

constexpr size_t MOST_SHOWN_BYTES = 80;

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
    const std::string_view beginning = CutText(entry.value, MOST_SHOWN_BYTES);
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

}  // namespace

int GetProfile(const DeviceChoice& choice, const std::string& device, const ProfileKey& key, bool json) {
    Client::DeviceClient client(ChooseDevice(choice, false));
    const auto value = client.GetProfile(device, key.service, key.serviceType, key.key);
    if (json) {
        Json::Value result(Json::objectValue);
        result["known"] = value.has_value();
        result["value"] = value.value_or("");
        PrintJson(result);
    }
    if (!value) {
        throw CommandError("nothing is known of " + key.key + " under the service " + key.service + " of " + device);
    }
    if (!json) {
        std::string line;
        AppendPrintable(line, *value);
        std::cout << line << '\n';
    }
    return 0;
}

int PutProfile(const DeviceChoice& choice, const ProfileKey& key, const std::string& value, bool json) {
    Client::DeviceClient client(ChooseDevice(choice, false));
    return Conclude(client.PutProfile(key.service, key.serviceType, key.key, OrStandardInput(value)), json);
}

int DeleteProfile(const DeviceChoice& choice, const ProfileKey& key, bool json) {
    Client::DeviceClient client(ChooseDevice(choice, false));
    return Conclude(client.DeleteProfile(key.service, key.key), json);
}

int ListProfiles(const DeviceChoice& choice, const std::string& device, bool json) {
    Client::DeviceClient client(ChooseDevice(choice, false));
    const std::vector<Client::ProfileEntry> entries = client.ListProfiles(device);
    if (json) {
        PrintJson(ToJson(entries));
    } else {
        PrintTable(entries);
    }
    return 0;
}

}  // namespace ZYNE::Cli
