// What is known of the peers and their companions.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ZYNE::Companion {

struct PeerState {
    using TimePoint = std::chrono::steady_clock::time_point;

    bool isUp = false;
    std::optional<uint16_t> version;  // once it has said Hello
    bool hasScreens = false;          // by its own word
    bool saysLocked = false;
    bool isToldLocked = false;  // by the device
    std::optional<TimePoint> refusalTold;

    bool HasOurVersion() const;
    bool IsLocked() const { return saysLocked || isToldLocked; }
    bool IsReady() const { return isUp && HasOurVersion() && hasScreens && !IsLocked(); }
};

class PeerStates {
public:
    // Made when it is not there: for what this device itself says about a peer.
    PeerState& Of(const std::string& peer) { return states_[peer]; }
    // As it is; that of one that was never heard of is all false.
    const PeerState& Get(const std::string& peer) const;
    std::vector<std::string> Up() const;

    // Its companion is gone, and all that it has said counts no more.
    void Down(const std::string& peer);

private:
    std::map<std::string, PeerState> states_;  // by id
};

// Which of the two companions is the older one, in words; empty when they fit.
std::string WordsOfVersion(uint16_t version);

}  // namespace ZYNE::Companion
