#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include <json/value.h>

#include "cli/command.h"
#include "cli/json_output.h"
#include "cli/stop_signals.h"
#include "cli/time_stamp.h"
#include "client/crossing_watch.h"
#include "client/desk.h"
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

    // `device` knows the peer's name.
    void operator()(Client::Device& device, const Client::Passage& passage) const {
        const std::string name = NameOf(device, passage.peer);
        if (!json_) {
            std::string line = "desk  " + passage.what + "  ";
            AppendPrintable(line, name.empty() ? passage.peer : name);
            line += "  ";
            AppendPrintable(line, passage.why);
            PrintLine(line);
            return;
        }
        Json::Value object = Begin("desk");
        object["what"] = passage.what;
        object["device"] = name;
        object["deviceId"] = passage.peer;
        object["why"] = passage.why;
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

    // One write for each line: events of both kinds come on threads of their own.
    static void PrintLine(const std::string& text) {
        std::cout << TimeStamp() + "  " + text + '\n';
        std::cout.flush();
    }

    static Json::Value Begin(const char* event) {
        Json::Value object(Json::objectValue);
        object["time"] = TimeStamp();
        object["event"] = event;
        return object;
    }

    void PrintPeerEvent(const char* event, const std::string& networkId, int32_t status) const {
        const std::string name = NameOf(device_, networkId);
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
    static std::string NameOf(Client::Device& device, const std::string& peer) {
        try {
            return device.Info().FindPeer(peer).name;
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

constexpr const char* DESK = "desk";

// Follows the pointer's way between devices beside the other events.
class PassageThread {
public:
    PassageThread(const Client::DeviceEntry& entry, const EventPrinter& print, const StopSignals& stop)
        : device_(entry), desk_(entry), thread_([this, &print, &stop] { Run(print, stop); }) {}
    PassageThread(const PassageThread&) = delete;
    PassageThread& operator=(const PassageThread&) = delete;
    // Once the stop signal has come, or the device has ended.
    ~PassageThread() { thread_.join(); }

private:
    void Run(const EventPrinter& print, const StopSignals& stop) noexcept {
        try {
            desk_.Follow(stop.Descriptor(), [&](const Client::Passage& passage) {
                print(device_, passage);
                stop.RaiseUnlessWritable(std::cout);
            });
        } catch (const std::exception&) {
            // The device has ended: whoever follows the other events says so.
        }
    }

    Client::Device device_;
    Client::Desk desk_;
    std::thread thread_;
};

// Until the user interrupts. Throws when the device has ended.
int WatchCrossing(const DeviceChoice& choice, const Options& options) {
    const StopSignals stop;
    Client::Device device(ChooseDevice(choice));
    const EventPrinter print(device, options.json);
    std::vector<std::string> events = options.events;
    const bool hasDesk = std::erase(events, DESK) > 0;
    Client::CrossingWatch watch(device, events, [&](const Client::CrossingEvent& event) {
        std::visit(print, event);
        stop.RaiseUnlessWritable(std::cout);
    });
    std::optional<PassageThread> passages;
    if (hasDesk) {
        passages.emplace(device.Entry(), print, stop);
    }
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
            "keyboard: keys; edge: the pointer arrives at an edge; screen, switch: those of peers change; desk: the "
            "pointer goes to a peer, comes home, and why")
        ->required()
        ->check(CLI::IsMember({"keyboard", "edge", "screen", "switch", DESK}));
    command->add_flag("--json", options->json, "Print one JSON object a line");
    SetAction(*command, line, options, WatchCrossing);
}

}  // namespace ZYNE::Cli
