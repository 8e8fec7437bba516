#include <iostream>
#include <string>

#include <json/value.h>

#include "cli/commands.h"
#include "cli/json_output.h"
#include "cli/stop_signals.h"
#include "cli/time_stamp.h"
#include "client/crossing_client.h"
#include "client/profile_watch.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

// `filter.device` is the device's id.
bool Passes(const ProfileFilter& filter, const Client::ProfileEntry& entry) {
    return (filter.device.empty() || filter.device == entry.deviceId) &&
        (filter.service.empty() || filter.service == entry.service) && (filter.key.empty() || filter.key == entry.key);
}

void PrintLine(const Client::ProfileChange& change) {
    const Client::ProfileEntry& entry = change.entry;
    std::string line = TimeStamp();
    for (const std::string& part : {change.what, entry.deviceName, entry.service, entry.key, entry.value}) {
        line += "  ";
        AppendPrintable(line, part);
    }
    std::cout << line << (entry.whole ? "" : "...") << std::endl;
}

Json::Value ToJson(const Client::ProfileChange& change) {
    Json::Value object(Json::objectValue);
    object["time"] = TimeStamp();
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

int WatchProfiles(const DeviceChoice& choice, const ProfileFilter& wanted, bool json) {
    const StopSignals stop;
    const Client::DeviceEntry device = ChooseDevice(choice, false);
    ProfileFilter filter = wanted;
    if (!wanted.device.empty()) {
        // A device that nobody has seen is more often misspelt than waited for.
        filter.device = Client::CrossingClient(device).FindPeer(wanted.device).id;
    }
    Client::ProfileWatch watch(device, [&](const Client::ProfileChange& change) {
        if (!Passes(filter, change.entry)) {
            return;
        }
        if (json) {
            PrintJsonLine(ToJson(change));
        } else {
            PrintLine(change);
        }
        stop.RaiseUnlessWritable(std::cout);
    });
    std::cerr << "watching until interrupted\n";
    watch.Follow(stop.Descriptor());
    return 0;
}

}  // namespace ZYNE::Cli
