#include "companion/placements/placement_book.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include <json/reader.h>
#include <json/writer.h>

namespace ZYNE::Companion {
namespace {

constexpr size_t MAX_SCREENS = 64;
constexpr int32_t MAX_COORDINATE = 1 << 20;

std::optional<std::string> IdAfter(std::string_view prefix, const std::string& key) {
    return key.starts_with(prefix) && key.size() > prefix.size() ? std::optional(key.substr(prefix.size()))
                                                                 : std::nullopt;
}

// Nothing unless it lies within the bounds.
std::optional<int32_t> NumberIn(const Json::Value& object, const char* name, int32_t least) {
    const Json::Value& value = object[name];
    if (!value.isInt() || value.asInt() < least || value.asInt() > MAX_COORDINATE) {
        return std::nullopt;
    }
    return value.asInt();
}

std::optional<Screen> ReadScreen(const Json::Value& value) {
    if (!value.isObject() || !value["name"].isString()) {
        return std::nullopt;
    }
    const auto x = NumberIn(value, "x", -MAX_COORDINATE);
    const auto y = NumberIn(value, "y", -MAX_COORDINATE);
    const auto width = NumberIn(value, "width", 1);
    const auto height = NumberIn(value, "height", 1);
    if (!x || !y || !width || !height) {
        return std::nullopt;
    }
    return Screen{value["name"].asString(), *x, *y, *width, *height};
}

// Whether both are about one pair of devices, on another side or stretch.
bool IsOtherOfPair(const HeldPlacement& held, const std::string& owner, const Placement& placement) {
    return held.owner == placement.peer && held.placement.peer == owner &&
        held.placement.display == placement.peerDisplay && held.SeenBy(owner) != placement;
}

}  // namespace

Placement HeldPlacement::SeenBy(const std::string& device) const {
    return device == owner ? placement : Mirror(placement, owner);
}

void PlacementBook::Add(const std::string& device, const std::string& key, const std::string& value) {
    if (const auto id = IdAfter(PLACEMENT_KEY, key)) {
        const auto placements = ReadPlacements(value);
        if (placements && placements->size() == 1 && placements->front().peer != device) {
            held_.insert_or_assign(*id, HeldPlacement{device, *id, placements->front()});
        }
    } else if (const auto removed = IdAfter(REMOVED_KEY, key)) {
        removed_[device].insert(*removed);
    } else if (key == SCREENS_KEY) {
        screens_[device] = ReadScreens(value).value_or(std::vector<Screen>());
    }
}

bool PlacementBook::IsTakenBack(const HeldPlacement& held) const {
    const auto marks = removed_.find(held.placement.peer);
    return marks != removed_.end() && marks->second.contains(held.id);
}

std::vector<HeldPlacement> PlacementBook::All() const {
    std::vector<HeldPlacement> all;
    for (const auto& [id, held] : held_) {
        const auto clashes = [&held = held](const HeldPlacement& earlier) {
            const auto clashOn = [&](const std::string& device) {
                return earlier.Concerns(device) && Contradict(earlier.SeenBy(device), held.SeenBy(device));
            };
            return clashOn(held.owner) || clashOn(held.placement.peer);
        };
        if (!IsTakenBack(held) && std::ranges::none_of(all, clashes)) {
            all.push_back(held);
        }
    }
    return all;
}

std::vector<Placement> PlacementBook::Of(const std::string& device) const {
    std::vector<Placement> placements;
    for (const HeldPlacement& held : All()) {
        if (held.Concerns(device)) {
            placements.push_back(held.SeenBy(device));
        }
    }
    return placements;
}

std::optional<HeldPlacement> PlacementBook::FindConflict(
    const std::string& owner, const Placement& placement, const std::set<std::string>& instead) const {
    const HeldPlacement made{owner, "", placement};
    for (const HeldPlacement& held : All()) {
        const auto clashOn = [&](const std::string& device) {
            return held.Concerns(device) && Contradict(held.SeenBy(device), made.SeenBy(device));
        };
        if (!instead.contains(held.id) &&
            (clashOn(owner) || clashOn(placement.peer) || IsOtherOfPair(held, owner, placement))) {
            return held;
        }
    }
    return std::nullopt;
}

std::vector<Screen> PlacementBook::ScreensOf(const std::string& device) const {
    const auto screens = screens_.find(device);
    return screens == screens_.end() ? std::vector<Screen>() : screens->second;
}

std::vector<std::string> PlacementBook::StaleMarks(const std::string& device) const {
    std::vector<std::string> stale;
    const auto marks = removed_.find(device);
    if (marks != removed_.end()) {
        std::ranges::copy_if(
            marks->second, std::back_inserter(stale), [this](const auto& id) { return !held_.contains(id); });
    }
    return stale;
}

std::string WriteScreens(const std::vector<Screen>& screens) {
    Json::Value list(Json::arrayValue);
    for (const Screen& screen : screens) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["name"] = screen.name;
        entry["x"] = screen.x;
        entry["y"] = screen.y;
        entry["width"] = screen.width;
        entry["height"] = screen.height;
    }
    Json::StreamWriterBuilder compact;
    compact["indentation"] = "";
    return Json::writeString(compact, list);
}

std::optional<std::vector<Screen>> ReadScreens(const std::string& text) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value list;
    if (!reader->parse(text.data(), text.data() + text.size(), &list, nullptr) || !list.isArray() ||
        list.size() > MAX_SCREENS) {
        return std::nullopt;
    }
    std::vector<Screen> screens;
    for (const Json::Value& entry : list) {
        const auto screen = ReadScreen(entry);
        if (!screen) {
            return std::nullopt;
        }
        screens.push_back(*screen);
    }
    return screens;
}

}  // namespace ZYNE::Companion
