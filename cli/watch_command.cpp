#include <iostream>
#include <string>
#include <variant>
#include <vector>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/stop_signals.h"
#include "cli/time_stamp.h"
#include "client/crossing_watch.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

// The words for a peer's status of a switch or a screen; a number where there is none.
std::string StatusWord(int32_t status) {
    switch (status) {
    case 0:
        return "off";
    case 1:
        return "on";
    case 2:
        return "locked";
    default:
        return std::to_string(status);
    }
}

std::string ActionWord(int32_t action) {
    return action == 0 ? "released" : action == 1 ? "pressed" : std::to_string(action);
}

// Prints each event as it comes.
class EventPrinter {
public:
    EventPrinter(Client::Device& device, bool json) : device_(device), json_(json) {}

    void operator()(const Client::SwitchEvent& event) const { PrintPeerEvent("switch", event.networkId, event.status); }
    void operator()(const Client::ScreenEvent& event) const { PrintPeerEvent("screen", event.networkId, event.status); }

    void operator()(const Client::KeyEvent& event) const {
        if (!json_) {
            PrintLine("keyboard  code " + std::to_string(event.code) + "  " + ActionWord(event.action));
            return;
        }
        Json::Value object = Begin("keyboard");
        object["keyCode"] = event.code;
        object["keyAction"] = event.action;
        PrintJsonLine(object);
    }

    void operator()(const Client::EdgeEvent& event) const {
        if (!json_) {
            PrintLine("edge  screen " + std::to_string(event.screenId) + "  at " + Pair(event.x, event.y) +
                "  raw delta " + Pair(event.rawDx, event.rawDy) + "  device " + std::to_string(event.deviceId) +
                (event.isPressedButtons ? "  button pressed" : "  no button pressed"));
            return;
        }
        Json::Value object = Begin("edge");
        object["screenId"] = event.screenId;
        object["screenX"] = event.x;
        object["screenY"] = event.y;
        object["rawDeltaX"] = event.rawDx;
        object["rawDeltaY"] = event.rawDy;
        object["deviceId"] = event.deviceId;
        object["isPressedButtons"] = event.isPressedButtons;
        PrintJsonLine(object);
    }

private:
    static std::string Pair(int32_t first, int32_t second) {
        return std::to_string(first) + "," + std::to_string(second);
    }

    static void PrintLine(const std::string& text) { std::cout << TimeStamp() << "  " << text << std::endl; }

    static Json::Value Begin(const char* event) {
        Json::Value object(Json::objectValue);
        object["time"] = TimeStamp();
        object["event"] = event;
        return object;
    }

    void PrintPeerEvent(const char* event, const std::string& networkId, int32_t status) const {
        const std::string name = NameOf(networkId);
        if (!json_) {
            std::string line = std::string(event) + "  ";
            AppendPrintable(line, name.empty() ? networkId : name);
            PrintLine(line + "  " + StatusWord(status));
            return;
        }
        Json::Value object = Begin(event);
        object["networkId"] = networkId;
        object["device"] = name;
        object["status"] = status;
        PrintJsonLine(object);
    }

    // Empty when the device does not know the peer.
    std::string NameOf(const std::string& networkId) const {
        try {
            return device_.Info().FindPeer(networkId).name;
        } catch (const Client::DeviceError&) {
            return {};
        }
    }

    Client::Device& device_;
    const bool json_;
};

struct Options {
    std::vector<std::string> events;
    bool json = false;
};

// Until the user interrupts. Throws when the device has ended.
int WatchCrossing(const DeviceChoice& choice, const Options& options) {
    const StopSignals stop;
    Client::Device device(ChooseDevice(choice));
    const EventPrinter print(device, options.json);
    Client::CrossingWatch watch(device, options.events, [&](const Client::CrossingEvent& event) {
        std::visit(print, event);
        stop.RaiseUnlessWritable(std::cout);
    });
    std::cerr << "watching until interrupted\n";
    watch.Follow(stop.Descriptor());
    return 0;
}

}  // namespace

void AddWatch(CLI::App& app, CommandLine& line) {
    CLI::App* command = app.add_subcommand("watch", "Print events of crossing as they come, until interrupted");
    auto options = std::make_shared<Options>();
    command
        ->add_option("EVENT", options->events,
            "keyboard: keys; edge: the pointer arrives at an edge; screen, switch: those of peers change")
        ->required()
        ->check(CLI::IsMember({"keyboard", "edge", "screen", "switch"}));
    command->add_flag("--json", options->json, "Print one JSON object a line");
    SetAction(*command, line, options, WatchCrossing);
}

}  // namespace ZYNE::Cli
