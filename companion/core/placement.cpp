#include "companion/core/placement.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

namespace ZYNE::Companion {
namespace {

// Texts come from profiles of peers.
constexpr size_t MAX_TEXT_BYTES = 65536;
constexpr Json::ArrayIndex MAX_PLACEMENTS = 64;

constexpr std::array<std::pair<Side, std::string_view>, 4> SIDE_NAMES{
    {{Side::LEFT, "left"}, {Side::RIGHT, "right"}, {Side::TOP, "top"}, {Side::BOTTOM, "bottom"}}};

Json::Value WritePart(const Part& part) {
    Json::Value value(Json::arrayValue);
    value.append(part.from);
    value.append(part.to);
    return value;
}

bool ReadPart(const Json::Value& value, Part& part) {
    if (value.isNull()) {
        return true;
    }
    if (!value.isArray() || value.size() != 2 || !value[0].isNumeric() || !value[1].isNumeric()) {
        return false;
    }
    part = {value[0].asDouble(), value[1].asDouble()};
    return part.from >= 0 && part.from < part.to && part.to <= 100;
}

bool ReadName(const Json::Value& value, std::string& name) {
    if (value.isNull()) {
        return true;
    }
    if (!value.isString()) {
        return false;
    }
    name = value.asString();
    return name.size() <= MAX_NAME_BYTES;
}

bool ReadSide(const Json::Value& value, Side& side) {
    const std::optional<Side> named = value.isString() ? SideOfName(value.asString()) : std::nullopt;
    side = named.value_or(side);
    return named.has_value();
}

std::optional<Placement> ReadPlacement(const Json::Value& value) {
    Placement placement;
    if (!value.isObject() || !ReadName(value["peer"], placement.peer) || placement.peer.empty() ||
        !ReadSide(value["side"], placement.side) || !ReadName(value["display"], placement.display) ||
        !ReadPart(value["part"], placement.part) || !ReadName(value["peerDisplay"], placement.peerDisplay) ||
        !ReadPart(value["peerPart"], placement.peerPart)) {
        return std::nullopt;
    }
    return placement;
}

Json::Value Parse(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["stackLimit"] = 16;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    try {
        return reader->parse(text.data(), text.data() + text.size(), &root, nullptr) ? root : Json::Value();
    } catch (const Json::Exception&) {  // nested too deep
        return {};
    }
}

}  // namespace

Placement Mirror(const Placement& placement, const std::string& owner) {
    return {
        owner, Opposite(placement.side), placement.peerDisplay, placement.peerPart, placement.display, placement.part};
}

bool Contradict(const Placement& one, const Placement& other) {
    return one != other && one.side == other.side && one.display == other.display &&
        std::max(one.part.from, other.part.from) < std::min(one.part.to, other.part.to);
}

std::string SideName(Side side) {
    const auto* named = std::find_if(
        SIDE_NAMES.begin(), SIDE_NAMES.end(), [side](const auto& candidate) { return candidate.first == side; });
    return std::string(named->second);
}

std::optional<Side> SideOfName(std::string_view name) {
    const auto* named = std::find_if(
        SIDE_NAMES.begin(), SIDE_NAMES.end(), [name](const auto& candidate) { return candidate.second == name; });
    return named == SIDE_NAMES.end() ? std::nullopt : std::optional(named->first);
}

std::string WritePlacements(const std::vector<Placement>& placements) {
    Json::Value root(Json::arrayValue);
    for (const Placement& placement : placements) {
        Json::Value value;
        value["peer"] = placement.peer;
        value["side"] = SideName(placement.side);
        value["display"] = placement.display;
        value["part"] = WritePart(placement.part);
        value["peerDisplay"] = placement.peerDisplay;
        value["peerPart"] = WritePart(placement.peerPart);
        root.append(value);
    }
    Json::StreamWriterBuilder compact;
    compact["indentation"] = "";
    return Json::writeString(compact, root);
}

std::optional<std::vector<Placement>> ReadPlacements(const std::string& text) {
    if (text.size() > MAX_TEXT_BYTES) {
        return std::nullopt;
    }
    const Json::Value root = Parse(text);
    if (!root.isArray() || root.size() > MAX_PLACEMENTS) {
        return std::nullopt;
    }
    std::vector<Placement> placements;
    for (const Json::Value& value : root) {
        const std::optional<Placement> placement = ReadPlacement(value);
        if (!placement) {
            return std::nullopt;
        }
        placements.push_back(*placement);
    }
    return placements;
}

}  // namespace ZYNE::Companion
