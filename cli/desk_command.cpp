#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

#include "cli/command.h"
#include "cli/desk_surroundings.h"
#include "cli/json_output.h"
#include "cli/text_table.h"
#include "client/desk.h"

namespace ZYNE::Cli {
namespace {

using Companion::HeldPlacement;
using Companion::Part;
using Companion::Placement;
using Companion::PROFILE_SERVICE;

constexpr char SERVICE_TYPE[] = "desk";

int32_t Check(int32_t code) {
    if (code != 0) {
        throw CommandError("the profile does not take it: " + std::to_string(code));
    }
    return code;
}

std::string NewId() {
    std::random_device random;
    std::array<char, 17> text{};
    std::snprintf(text.data(), text.size(), "%08x%08x", random(), random());
    return text.data();
}

struct PlaceOptions {
    std::string peer;
    std::string side;
    std::string display;
    std::string part;
    std::string peerDisplay;
    std::string peerPart;
    bool add = false;
    bool json = false;
};

Part ReadPart(const std::string& text) {
    Part part;
    char rest = 0;
    if (!text.empty() &&
        (std::sscanf(text.c_str(), "%lf-%lf%c", &part.from, &part.to, &rest) != 2 || !(part.from >= 0) ||
            !(part.from < part.to) || !(part.to <= 100))) {
        throw CommandError("a part is FROM-TO in percent, such as 0-50: \"" + text + "\" is none");
    }
    return part;
}

// The device's own placements of that peer that a new one replaces.
std::set<std::string> Replaced(const Surroundings& around, const Placement& placement, bool add) {
    std::set<std::string> ids;
    for (const HeldPlacement& held : around.book.All()) {
        if (!add && held.owner == around.self.id && held.placement.peer == placement.peer &&
            held.placement.display == placement.display) {
            ids.insert(held.id);
        }
    }
    return ids;
}

bool Holds(const Surroundings& around, const Placement& placement) {
    const std::vector<Placement> own = around.book.Of(around.self.id);
    return std::ranges::find(own, placement) != own.end();
}

void Store(Client::Device& device, const Surroundings& around, const Placement& placement,
    const std::set<std::string>& replaced) {
    Client::Profiles profiles = device.Profiles();
    Check(profiles.Put(
        PROFILE_SERVICE, SERVICE_TYPE, Companion::PLACEMENT_KEY + NewId(), Companion::WritePlacements({placement})));
    for (const std::string& id : replaced) {
        profiles.Delete(PROFILE_SERVICE, Companion::PLACEMENT_KEY + id);
    }
    for (const std::string& id : around.book.StaleMarks(around.self.id)) {
        profiles.Delete(PROFILE_SERVICE, Companion::REMOVED_KEY + id);
    }
}

int Place(Client::Device& device, const PlaceOptions& options) {
    const Surroundings around = LookAround(device);
    const Placement placement{PeerId(device, around, options.peer), *Companion::SideOfName(options.side),
        options.display, ReadPart(options.part), options.peerDisplay, ReadPart(options.peerPart)};
    const std::set<std::string> replaced = Replaced(around, placement, options.add);
    if (!Holds(around, placement)) {
        if (const auto conflict = around.book.FindConflict(around.self.id, placement, replaced)) {
            throw CommandError(around.NameOf(conflict->owner) + " holds \"" + around.Words(conflict->placement) +
                "\", which contradicts \"" + around.Words(placement) + "\" of " + around.self.name +
                ": remove it first with collabctl desk remove");
        }
        Store(device, around, placement, replaced);
    }
    if (options.json) {
        Json::Value root(Json::objectValue);
        root["peer"] = around.NameOf(placement.peer);
        root["side"] = options.side;
        PrintJson(root);
    } else {
        PrintLine(around.NameOf(placement.peer) + " lies " + options.side + " of " + around.self.name);
    }
    return 0;
}

struct PeerOptions {
    std::string peer;
    bool json = false;
};

int Remove(Client::Device& device, const PeerOptions& options) {
    const Surroundings around = LookAround(device);
    const std::string peer = PeerId(device, around, options.peer);
    Client::Profiles profiles = device.Profiles();
    size_t removed = 0;
    for (const HeldPlacement& held : around.book.All()) {
        if (held.owner == around.self.id && held.placement.peer == peer) {
            Check(profiles.Delete(PROFILE_SERVICE, Companion::PLACEMENT_KEY + held.id));
            ++removed;
        } else if (held.owner == peer && held.placement.peer == around.self.id) {
            Check(profiles.Put(PROFILE_SERVICE, SERVICE_TYPE, Companion::REMOVED_KEY + held.id, "1"));
            ++removed;
        }
    }
    if (removed == 0) {
        throw CommandError(around.NameOf(peer) + " lies nowhere beside " + around.self.name);
    }
    if (options.json) {
        Json::Value root(Json::objectValue);
        root["removed"] = Json::UInt64(removed);
        PrintJson(root);
    }
    return 0;
}

int Return(Client::Device& device, const JsonOption& options) {
    const bool hasMoved = Client::Desk(device.Entry()).Return();
    if (options.json) {
        Json::Value root(Json::objectValue);
        root["moved"] = hasMoved;
        PrintJson(root);
    } else {
        PrintLine(hasMoved ? "the pointer goes home" : "the pointer is at home");
    }
    return 0;
}

void AddPlace(CLI::App& desk, CommandLine& line) {
    CLI::App* command = desk.add_subcommand("place", "Say where a peer lies; both devices know at once");
    auto options = std::make_shared<PlaceOptions>();
    command->add_option("PEER", options->peer, "The peer: its name, or its id as 'devices' shows it")->required();
    command->add_option("SIDE", options->side, "left, right, top or bottom of this device")
        ->required()
        ->check(CLI::IsMember({"left", "right", "top", "bottom"}));
    command->add_option("--display", options->display, "Beside that display of this device; else beside all of it");
    command->add_option(
        "--part", options->part, "Beside that part of the side, FROM-TO in percent from the top or left");
    command->add_option("--peer-display", options->peerDisplay, "That display of the peer; else all of it");
    command->add_option("--peer-part", options->peerPart, "That part of the peer's side, in percent");
    command->add_flag("--add", options->add, "Beside where the peer lies already; else instead");
    SetAction(*command, line, options, Place);
}

}  // namespace

void AddDesk(CLI::App& app, CommandLine& line) {
    CLI::App* desk = app.add_subcommand("desk", "Where the displays of peers lie, and where the pointer is");
    desk->require_subcommand(1);
    AddPlace(*desk, line);
    CLI::App* remove = desk->add_subcommand("remove", "The peer lies nowhere beside this device any more");
    auto options = std::make_shared<PeerOptions>();
    remove->add_option("PEER", options->peer, "The peer: its name, or its id as 'devices' shows it")->required();
    SetAction(*remove, line, options, Remove);
    SetAction(*desk->add_subcommand("return", "Bring the pointer home, this device's or one that is here"), line,
        std::make_shared<JsonOption>(), Return);
    AddDeskShow(*desk, line);
}

}  // namespace ZYNE::Cli
