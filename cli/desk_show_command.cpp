#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "cli/command.h"
#include "cli/desk_drawing.h"
#include "cli/desk_surroundings.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/desk.h"
#include "platform/log/printable_text.h"

namespace ZYNE::Cli {
namespace {

using Companion::HeldPlacement;
using Companion::Part;
using Companion::Screen;

// Nothing while the companion does not run.
std::optional<Client::DeskState> ReadState(Client::Device& device) {
    try {
        return Client::Desk(device.Entry()).GetState();
    } catch (const Client::CompanionMissing&) {
        return std::nullopt;
    }
}

// The id of the device where the pointer of this device, or the one that is here, is.
std::string PointerAt(const Surroundings& around, const std::optional<Client::DeskState>& state) {
    return !state ? "" : state->where == "away" ? state->peer : around.self.id;
}

DeskBox BoxOf(const Surroundings& around, const std::string& id, const std::string& pointerAt) {
    const auto printable = [](const std::string& text) {
        std::string harmless;
        AppendPrintable(harmless, text);
        return harmless;
    };
    DeskBox box{id, {printable(around.NameOf(id)) + (id == pointerAt ? "  <- pointer" : "")}};
    for (const Screen& screen : around.book.ScreensOf(id)) {
        box.lines.push_back(
            printable(screen.name) + " " + std::to_string(screen.width) + "x" + std::to_string(screen.height));
    }
    return box;
}

// This device first, then all others that are placed anywhere.
std::vector<std::string> Devices(const Surroundings& around) {
    std::vector<std::string> devices{around.self.id};
    for (const HeldPlacement& held : around.book.All()) {
        for (const std::string& id : {held.owner, held.placement.peer}) {
            if (std::ranges::find(devices, id) == devices.end()) {
                devices.push_back(id);
            }
        }
    }
    return devices;
}

void PrintDrawing(const Surroundings& around, const std::optional<Client::DeskState>& state) {
    std::vector<DeskBox> boxes;
    for (const std::string& id : Devices(around)) {
        boxes.push_back(BoxOf(around, id, PointerAt(around, state)));
    }
    std::cout << DrawDesk(boxes, around.book.All());
    for (const HeldPlacement& held : around.book.All()) {
        PrintLine(around.NameOf(held.owner) + " holds \"" + around.Words(held.placement) + '"');
    }
    if (!state) {
        PrintLine("the companion does not run: see collabctl explain");
    }
}

Json::Value DevicesToJson(const Surroundings& around, const std::string& pointerAt) {
    Json::Value devices(Json::arrayValue);
    for (const std::string& id : Devices(around)) {
        Json::Value& device = devices.append(Json::objectValue);
        device["name"] = around.NameOf(id);
        device["id"] = id;
        device["hasPointer"] = id == pointerAt;
        Json::Value& screens = device["screens"] = Json::arrayValue;
        for (const Screen& screen : around.book.ScreensOf(id)) {
            Json::Value& entry = screens.append(Json::objectValue);
            entry["name"] = screen.name;
            entry["x"] = screen.x;
            entry["y"] = screen.y;
            entry["width"] = screen.width;
            entry["height"] = screen.height;
        }
    }
    return devices;
}

Json::Value PartToJson(const Part& part) {
    Json::Value list(Json::arrayValue);
    list.append(part.from);
    list.append(part.to);
    return list;
}

Json::Value PlacementsToJson(const Surroundings& around) {
    Json::Value list(Json::arrayValue);
    for (const HeldPlacement& held : around.book.All()) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["heldBy"] = around.NameOf(held.owner);
        entry["peer"] = around.NameOf(held.placement.peer);
        entry["side"] = Companion::SideName(held.placement.side);
        entry["display"] = held.placement.display;
        entry["part"] = PartToJson(held.placement.part);
        entry["peerDisplay"] = held.placement.peerDisplay;
        entry["peerPart"] = PartToJson(held.placement.peerPart);
    }
    return list;
}

Json::Value ToJson(const Surroundings& around, const std::optional<Client::DeskState>& state) {
    Json::Value root(Json::objectValue);
    root["devices"] = DevicesToJson(around, PointerAt(around, state));
    root["placements"] = PlacementsToJson(around);
    root["companionRuns"] = state.has_value();
    if (state) {
        root["pointer"] = state->where;
        root["peer"] = state->peer.empty() ? "" : around.NameOf(state->peer);
        root["eventsSent"] = Json::UInt64(state->sent);
        root["eventsDropped"] = Json::UInt64(state->dropped);
        root["roundTripMicroseconds"] =
            state->roundTrip < 0 ? Json::Value() : Json::Value(Json::Int64(state->roundTrip));
    }
    return root;
}

int Show(Client::Device& device, const JsonOption& options) {
    const Surroundings around = LookAround(device);
    const std::optional<Client::DeskState> state = ReadState(device);
    if (options.json) {
        PrintJson(ToJson(around, state));
    } else {
        PrintDrawing(around, state);
    }
    return 0;
}

}  // namespace

void AddDeskShow(CLI::App& desk, CommandLine& line) {
    SetAction(*desk.add_subcommand("show", "Draw the desk"), line, std::make_shared<JsonOption>(), Show);
}

}  // namespace ZYNE::Cli
