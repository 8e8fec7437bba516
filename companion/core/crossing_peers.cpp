// What is known of peers, what they say, and what ends a visit on either side.
#include <algorithm>

#include "companion/core/crossing_machine.h"
#include "companion/core/crossing_times.h"

namespace ZYNE::Companion {

void CrossingMachine::OnPeerUp(const std::string& peer, TimePoint now) {
    OnPeerDown(peer, now);
    known_.Of(peer).isUp = true;
    Send(peer, Hello{});
    Send(peer, Status{!desk_.IsEmpty(), isLocked_});
}

void CrossingMachine::OnPeerDown(const std::string& peer, TimePoint now) {
    CheckTime(now);
    known_.Down(peer);
    if (state_ != State::HOME && peer == peer_) {
        FinishVisit(Reason::GONE, now);
    }
}

void CrossingMachine::OnPeerLocked(const std::string& peer, bool isLocked, TimePoint now) {
    CheckTime(now);
    known_.Of(peer).isToldLocked = isLocked;
    CheckPeer(peer, now);
}

void CrossingMachine::OnMessage(const std::string& peer, const Message& message, TimePoint now) {
    CheckTime(now);
    const PeerState& state = known_.Get(peer);
    if (!state.isUp || (!state.HasOurVersion() && !std::holds_alternative<Hello>(message))) {
        Drop();
        return;
    }
    std::visit([&](const auto& body) { Handle(peer, body, now); }, message);
}

void CrossingMachine::OnNonsense(const std::string& /*peer*/) {
    Drop();
}

void CrossingMachine::Handle(const std::string& peer, const Hello& hello, TimePoint now) {
    PeerState& state = known_.Of(peer);
    state.version = hello.version;
    if (!state.HasOurVersion()) {
        TellRefusal(peer, Reason::NONSENSE, WordsOfVersion(hello.version), now);
    }
}

void CrossingMachine::Handle(const std::string& peer, const Status& status, TimePoint now) {
    PeerState& state = known_.Of(peer);
    state.hasScreens = status.hasScreens;
    state.saysLocked = status.isLocked;
    CheckPeer(peer, now);
}

void CrossingMachine::Handle(const std::string& peer, const Ended& ended, TimePoint now) {
    if (IsVisit(peer, ended.visit)) {
        FinishVisit(ended.reason, now);
    } else {
        Drop();
    }
}

void CrossingMachine::Handle(const std::string& /*peer*/, const Copied& /*copied*/, TimePoint /*now*/) {}

void CrossingMachine::Handle(const std::string& peer, const Alive& alive, TimePoint now) {
    if (!IsVisit(peer, alive.visit)) {
        Drop();
        return;
    }
    heard_ = now;
    Send(peer, Echo{alive.visit, alive.micros});
    if (state_ == State::HOST) {
        MoveGuest(alive.total, now);  // makes good a lost motion that no other follows
    }
}

void CrossingMachine::Handle(const std::string& peer, const Echo& echo, TimePoint now) {
    const std::chrono::microseconds elapsed(static_cast<int64_t>(Micros(now) - echo.micros));
    if (!IsVisit(peer, echo.visit) || elapsed.count() < 0 || elapsed > LONGEST_ROUND_TRIP) {
        Drop();
        return;
    }
    heard_ = now;
    counters_.roundTrip = elapsed;
}

bool CrossingMachine::Send(const std::string& peer, const Message& message) {
    const bool isSent = peers_.Send(peer, message);
    counters_.dropped += isSent ? 0 : 1;
    return isSent;
}

void CrossingMachine::SendStatus() {
    for (const std::string& peer : known_.Up()) {
        Send(peer, Status{!desk_.IsEmpty(), isLocked_});
    }
}

bool CrossingMachine::IsReady(const std::string& peer) const {
    return !isStopped_ && !isLocked_ && known_.Get(peer).IsReady();
}

// A visit ends where the peer's session cannot be used; without a display the peer has no pointer to show.
void CrossingMachine::CheckPeer(const std::string& peer, TimePoint now) {
    if (state_ == State::HOME || peer != peer_) {
        return;
    }
    const PeerState& state = known_.Get(peer);
    if (state.IsLocked()) {
        EndVisit(Reason::LOCKED, now);
    } else if (IsOut() && !state.hasScreens) {
        EndVisit(Reason::NO_DISPLAY, now);
    }
}

void CrossingMachine::Tell(Passage::Kind kind, const std::string& peer, Reason reason, const std::string& words) {
    watch_.OnPassage({kind, peer, reason, words});
}

void CrossingMachine::TellRefusal(const std::string& peer, Reason reason, const std::string& words, TimePoint now) {
    std::optional<TimePoint>& told = known_.Of(peer).refusalTold;
    if (!told || now - *told >= REFUSAL_PERIOD) {
        told = now;
        Tell(Passage::Kind::REFUSED, peer, reason, words);
    }
}

void CrossingMachine::BeginVisit(State state, const std::string& peer, Visit visit, TimePoint now) {
    state_ = state;
    peer_ = peer;
    visit_ = visit;
    heard_ = now;
    nextAlive_ = now + ALIVE_PERIOD;
    push_.Reset();
}

void CrossingMachine::EndVisit(Reason reason, TimePoint now) {
    const std::string peer = peer_;
    const Visit visit = visit_;
    FinishVisit(reason, now);
    Send(peer, Ended{visit, reason});
}

void CrossingMachine::FinishVisit(Reason reason, TimePoint now) {
    if (state_ == State::HOST) {
        EndGuest(reason);
    } else {
        ComeHome(reason, homePoint_, now);
    }
}

bool CrossingMachine::IsVisit(const std::string& peer, Visit visit) const {
    return state_ != State::HOME && peer == peer_ && visit == visit_;
}

bool CrossingMachine::IsVisit(const std::string& peer, Visit visit, State state) const {
    return state_ == state && IsVisit(peer, visit);
}

std::vector<CrossingFact> CrossingMachine::Explain(const std::string& peer) const {
    const PeerState& state = known_.Get(peer);
    const InputState input = desktop_.GetState();
    const bool isNeighbour = std::any_of(
        placements_.begin(), placements_.end(), [&peer](const Placement& placement) { return placement.peer == peer; });
    return {{"neighbour at an edge", isNeighbour}, {"companion not stopped", !isStopped_},
        {"this device not locked", !isLocked_}, {"this device has a display", !desk_.IsEmpty()},
        {"peer's companion running", state.isUp}, {"peer's companion of the same version", state.HasOurVersion()},
        {"peer has a display", state.hasScreens}, {"peer not locked", !state.IsLocked()},
        {"no other visit under way", state_ == State::HOME || peer_ == peer},
        {"modifier held", MayPass(rules_, input.keys, {})}, {"nothing held", rules_.drags || input.buttons.empty()}};
}

}  // namespace ZYNE::Companion
