// What devices say in their profiles about where they lie beside each other, and what holds of it.
//
// The service is PROFILE_SERVICE. Under "placement.ID" a device holds a placement; under "removed.ID" it takes back one
// that a peer holds; under "screens" it says what screens it has.
//
//     PlacementBook book;
//     for (const Client::ProfileEntry& entry : entries) {
//         book.Add(entry.deviceId, entry.key, entry.value);
//     }
//     machine.SetPlacements(book.Of(self));
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "companion/core/placement.h"

namespace ZYNE::Companion {

inline constexpr char PROFILE_SERVICE[] = "PeerDesk";
inline constexpr char SCREENS_KEY[] = "screens";
inline constexpr char PLACEMENT_KEY[] = "placement.";
inline constexpr char REMOVED_KEY[] = "removed.";

// A placement in the profile of the device that made it.
struct HeldPlacement {
    std::string owner;    // the id of the device
    std::string id;       // of the placement
    Placement placement;  // as the owner sees it

    // As `device`, one of the two, sees it.
    Placement SeenBy(const std::string& device) const;
    bool Concerns(const std::string& device) const { return owner == device || placement.peer == device; }
};

// A value. Devices are named by their ids.
class PlacementBook {
public:
    // A characteristic of a device's profile. What makes no sense is passed over.
    void Add(const std::string& device, const std::string& key, const std::string& value);

    // All that have not been taken back, in the order of their ids. Two devices that could not see each other may have
    // made two that contradict: the one with the smaller id holds, on all devices.
    std::vector<HeldPlacement> All() const;
    // Those that concern `device`, as it sees them.
    std::vector<Placement> Of(const std::string& device) const;
    // What keeps `owner` from making `placement`: one that contradicts it on either device, or another one of the peer
    // for the same two devices. `instead` are ids of those that it replaces. Nothing when it can be made.
    std::optional<HeldPlacement> FindConflict(
        const std::string& owner, const Placement& placement, const std::set<std::string>& instead) const;

    // As the device has said; empty when it has not.
    std::vector<Screen> ScreensOf(const std::string& device) const;
    // Marks of `device` for placements that are not there any more.
    std::vector<std::string> StaleMarks(const std::string& device) const;

private:
    bool IsTakenBack(const HeldPlacement& held) const;

    std::map<std::string, HeldPlacement> held_;             // by id
    std::map<std::string, std::set<std::string>> removed_;  // ids, by the device that takes them back
    std::map<std::string, std::vector<Screen>> screens_;    // by device
};

// A JSON array. Nothing when the text is not one, or a screen in it makes no sense.
std::string WriteScreens(const std::vector<Screen>& screens);
std::optional<std::vector<Screen>> ReadScreens(const std::string& text);

}  // namespace ZYNE::Companion
