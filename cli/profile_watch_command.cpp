#include <iostream>
#include <string>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/stop_signals.h"
#include "cli/time_stamp.h"
#include "client/device_watch.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

// Which changes are shown; what is empty does not matter.
struct Options {
    std::string device;
    std::string service;
    std::string key;
    bool json = false;
};

// `filter.device` is the device's id.
bool Passes(const Options& filter, const Client::ProfileEntry& entry) {
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

// Until the user interrupts. Throws when the device has ended.
int WatchProfiles(const DeviceChoice& choice, const Options& options) {
    const StopSignals stop;
    Client::Device device(ChooseDevice(choice));
    Options filter = options;
    if (!filter.device.empty()) {
        // A device that nobody has seen is more often misspelt than waited for.
        filter.device = device.Info().FindPeer(filter.device).id;
    }
    Client::DeviceWatch watch(device, {.profile = [&](const Client::ProfileChange& change) {
        if (!Passes(filter, change.entry)) {
            return;
        }
        if (filter.json) {
            PrintJsonLine(ToJson(change));
        } else {
            PrintLine(change);
        }
        stop.RaiseUnlessWritable(std::cout);
    }});
    std::cerr << "watching until interrupted\n";
    watch.Follow(stop.Descriptor());
    return 0;
}

}  // namespace

void AddProfileWatch(CLI::App& profile, CommandLine& line) {
    CLI::App* command = profile.add_subcommand("watch", "Print changes of profiles as they come, until interrupted");
    auto options = std::make_shared<Options>();
    command->add_option(
        "DEVICE", options->device, "A peer, by its name or its id as 'devices' shows it, or the device itself");
    command->add_option("--service", options->service, "Only values of this service")->type_name("SERVICE");
    command->add_option("--key", options->key, "Only values of this name")->type_name("KEY");
    command->add_flag("--json", options->json, "Print one JSON object a line");
    SetAction(*command, line, options, WatchProfiles);
}

}  // namespace ZYNE::Cli
