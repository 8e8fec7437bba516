#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <iostream>
#include <string>
#include <vector>

#include <json/value.h>

#include "cli/commands.h"
#include "cli/json_output.h"
#include "cli/stop_signals.h"
#include "client/device_client.h"
#include "client/profile_watch.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

// As the log writes it: local time to the millisecond.
std::string Now() {
    const auto now = std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const std::time_t second = std::chrono::system_clock::to_time_t(now);
    std::tm parts{};
    localtime_r(&second, &parts);
    std::array<char, 32> text{};
    const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S.", &parts);
    const std::string milliseconds = std::to_string(1000 + now.time_since_epoch().count() % 1000);
    return std::string(text.data(), length) + milliseconds.substr(1);
}

// A device that nobody has seen is more often misspelt than waited for.
void CheckDevice(Client::DeviceClient& client, const std::string& wanted) {
    const std::vector<Client::Peer> peers = client.ListPeers();
    const bool known = wanted.empty() || wanted == client.Name() ||
        std::ranges::any_of(peers, [&](const auto& peer) { return peer.name == wanted || peer.id == wanted; });
    if (!known) {
        throw CommandError("no peer \"" + wanted + "\" has been seen");
    }
}

bool Passes(const ProfileFilter& filter, const Client::ProfileEntry& entry) {
    return (filter.device.empty() || filter.device == entry.deviceName || filter.device == entry.deviceId) &&
        (filter.service.empty() || filter.service == entry.service) && (filter.key.empty() || filter.key == entry.key);
}

void PrintLine(const Client::ProfileChange& change) {
    const Client::ProfileEntry& entry = change.entry;
    std::string line = Now();
    for (const std::string& part : {change.what, entry.deviceName, entry.service, entry.key, entry.value}) {
        line += "  ";
        AppendPrintable(line, part);
    }
    std::cout << line << (entry.whole ? "" : "...") << std::endl;
}

Json::Value ToJson(const Client::ProfileChange& change) {
    Json::Value object(Json::objectValue);
    object["time"] = Now();
    object["change"] = change.what;
    object["device"] = change.entry.deviceName;
    object["id"] = change.entry.deviceId;
    object["service"] = change.entry.service;
    object["key"] = change.entry.key;
    object["value"] = change.entry.value;
    object["whole"] = change.entry.whole;
    return object;
}

}  // namespace

int WatchProfiles(const DeviceChoice& choice, const ProfileFilter& filter, bool json) {
    const StopSignals stop;
    const Client::DeviceEntry device = ChooseDevice(choice, false);
    Client::DeviceClient client(device);
    CheckDevice(client, filter.device);
    Client::ProfileWatch watch(device, [&](const Client::ProfileChange& change) {
        if (!Passes(filter, change.entry)) {
            return;
        }
        if (json) {
            PrintJsonLine(ToJson(change));
        } else {
            PrintLine(change);
        }
    });
    std::cerr << "watching until interrupted\n";
    watch.Follow(stop.Descriptor());
    return 0;
}

}  // namespace ZYNE::Cli
