#include "companion/core/peer_states.h"

#include "companion/core/message.h"

namespace ZYNE::Companion {

bool PeerState::HasOurVersion() const {
    return version == WIRE_VERSION;
}

const PeerState& PeerStates::Get(const std::string& peer) const {
    static const PeerState UNKNOWN;
    const auto found = states_.find(peer);
    return found == states_.end() ? UNKNOWN : found->second;
}

std::vector<std::string> PeerStates::Up() const {
    std::vector<std::string> up;
    for (const auto& [peer, state] : states_) {
        if (state.isUp) {
            up.push_back(peer);
        }
    }
    return up;
}

void PeerStates::Down(const std::string& peer) {
    PeerState& state = states_[peer];
    PeerState fresh;
    fresh.isToldLocked = state.isToldLocked;
    fresh.refusalTold = state.refusalTold;
    state = fresh;
}

std::string WordsOfVersion(uint16_t version) {
    if (version == WIRE_VERSION) {
        return {};
    }
    const std::string both =
        "it speaks version " + std::to_string(version) + ", this device version " + std::to_string(WIRE_VERSION);
    return version < WIRE_VERSION ? "the peer's companion is older: " + both
                                  : "this device's companion is older than the peer's: " + both;
}

}  // namespace ZYNE::Companion
