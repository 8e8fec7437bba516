#include <iostream>
#include <string>
#include <utility>

#include <json/value.h>

#include "cli/crossing_commands.h"
#include "cli/json_output.h"
#include "cli/stop_signals.h"
#include "cli/time_stamp.h"
#include "client/crossing_client.h"
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
    EventPrinter(Client::DeviceEntry device, bool json) : device_(std::move(device)), json_(json) {}

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
            return Client::CrossingClient(device_).FindPeer(networkId).name;
        } catch (const Client::DeviceError&) {
            return {};
        }
    }

    const Client::DeviceEntry device_;
    const bool json_;
};

}  // namespace

int WatchCrossing(const DeviceChoice& choice, const std::vector<std::string>& events, bool json) {
    const StopSignals stop;
    const Client::DeviceEntry device = ChooseDevice(choice, false);
    Client::CrossingWatch watch(
        device, events, [&stop, print = EventPrinter(device, json)](const Client::CrossingEvent& event) {
            std::visit(print, event);
            stop.RaiseUnlessWritable(std::cout);
        });
    std::cerr << "watching until interrupted\n";
    watch.Follow(stop.Descriptor());
    return 0;
}

}  // namespace ZYNE::Cli
