// Where peers lie around the desk of a device, as devices say it in their profiles.
//
// A placement is made at one device and holds for both: seen from the peer it is mirrored. Texts are JSON:
//
//     {"peer": "3f2a", "side": "right", "display": "", "part": [0, 100], "peerDisplay": "", "peerPart": [0, 100]}
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "companion/core/geometry.h"

namespace ZYNE::Companion {

// A stretch along a side, in percent of its length: from its upper or left end.
struct Part {
    double from = 0;
    double to = 100;

    bool operator==(const Part&) const = default;
};

// Over `part` of this device's `side` lies `peerPart` of the peer's opposite side.
struct Placement {
    std::string peer;  // the id of the device
    Side side = Side::RIGHT;
    std::string display;  // whose side is meant; empty for the whole desk
    Part part;
    std::string peerDisplay;
    Part peerPart;

    bool operator==(const Placement&) const = default;
};

// The placement that `owner` has made for `placement.peer`, as that peer sees it.
Placement Mirror(const Placement& placement, const std::string& owner);

// Whether both cannot hold on one device: they use the same stretch of a side.
bool Contradict(const Placement& one, const Placement& other);

std::string SideName(Side side);  // left, right, top, bottom
std::optional<Side> SideOfName(std::string_view name);

// A JSON array.
std::string WritePlacements(const std::vector<Placement>& placements);
// Nothing when the text is not one; each value is held to its range.
std::optional<std::vector<Placement>> ReadPlacements(const std::string& text);

}  // namespace ZYNE::Companion
