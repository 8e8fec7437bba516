// This device's own pointer: how it leaves, goes on from peer to peer, and comes home.
#include "companion/core/crossing_machine.h"
#include "companion/core/crossing_times.h"

namespace ZYNE::Companion {

void CrossingMachine::MoveAtHome(const Motion& motion, TimePoint now) {
    const Shift shift = ShiftOf(motion, pointer_.value_or(motion.pointer));
    pointer_ = motion.pointer;
    for (const Side side : push_.Push(desk_, rules_, motion.pointer, shift, now)) {
        if (TryLeave(side, now)) {
            return;
        }
    }
}

bool CrossingMachine::TryLeave(Side side, TimePoint now) {
    const std::optional<Crossing> crossing = desk_.Over(*pointer_, side, placements_);
    if (!crossing || !IsReady(crossing->peer)) {
        return false;
    }
    const InputState input = desktop_.GetState();
    if (!MayPass(rules_, input.keys, input.buttons)) {
        return false;
    }
    if (const std::string why = desktop_.Capture(!input.buttons.empty()); !why.empty()) {
        push_.HoldOff(side, now + HOLD_OFF);
        TellRefusal(crossing->peer, Reason::CAPTURE_FAILED, why, now);
        return true;
    }
    held_ = input.keys;
    homePoint_ = *pointer_;
    homeSide_ = side;
    hasEntered_ = false;
    luggage_.Pack(input);
    Depart(*crossing, input.locks, now);
    return true;
}

// The pointer is captured.
void CrossingMachine::Depart(const Crossing& crossing, const Locks& locks, TimePoint now) {
    // Two devices may visit each other in turns, and what is said of an old visit must never fit a new one of the other
    // direction: of a pair one uses odd numbers.
    const Visit visit = ++departures_ * 2 + (self_ < crossing.peer ? 1 : 0);
    BeginVisit(State::LEAVING, crossing.peer, visit, now);
    answerDue_ = now + ANSWER_TIME;
    if (!Send(peer_, Enter{visit_, crossing.gate, locks, luggage_.Keys(), luggage_.Buttons()})) {
        FinishVisit(Reason::GONE, now);
    }
}

void CrossingMachine::Handle(const std::string& peer, const Entered& entered, TimePoint now) {
    if (!IsVisit(peer, entered.visit, State::LEAVING)) {
        Drop();
        return;
    }
    heard_ = now;
    state_ = State::AWAY;
    hasEntered_ = true;
    Tell(Passage::Kind::ENTERED, peer, Reason::OVER_EDGE);
    if (luggage_.Moved() != Total{}) {
        SendAway(Move{visit_, luggage_.Moved()}, now);
    }
}

void CrossingMachine::Handle(const std::string& peer, const Refused& refused, TimePoint now) {
    if (IsVisit(peer, refused.visit, State::LEAVING)) {
        FinishVisit(refused.reason, now);
    } else {
        Drop();
    }
}

void CrossingMachine::Handle(const std::string& peer, const Left& left, TimePoint now) {
    if (!IsVisit(peer, left.visit, State::AWAY)) {
        Drop();
        return;
    }
    if (left.device == self_) {
        const Total rest = luggage_.MovedSince(left.total);
        ComeHome(Reason::OVER_EDGE, PixelOf(desk_.Moved(CentreOf(desk_.Entry(left.gate)), rest.x, rest.y)), now);
    } else if (IsReady(left.device)) {
        GoOn(left, now);
    } else {
        FinishVisit(Reason::NO_NEIGHBOUR, now);
    }
}

// The second device has let go of everything already.
void CrossingMachine::GoOn(const Left& left, TimePoint now) {
    luggage_.Repack(luggage_.MovedSince(left.total), rules_.drags);
    Depart({left.device, left.gate}, desktop_.GetState().locks, now);
}

void CrossingMachine::ComeHome(Reason reason, Point at, TimePoint now) {
    const std::string peer = peer_;
    state_ = State::HOME;
    peer_.clear();
    visit_ = 0;
    pointer_ = desk_.Nearest(at);
    desktop_.Release(*pointer_);
    desktop_.Flush();
    push_.Reset();
    if (reason != Reason::OVER_EDGE) {
        push_.HoldOff(homeSide_, now + HOLD_OFF);
    }
    if (hasEntered_) {
        Tell(Passage::Kind::CAME_HOME, peer, reason);
    } else {
        TellRefusal(peer, reason, {}, now);
    }
}

// What a person does, to where the pointer is. Without a way for it the visit is over: a key that gets lost would stay
// pressed there.
void CrossingMachine::SendAway(const Message& message, TimePoint now) {
    if (Send(peer_, message)) {
        ++counters_.sent;
    } else if (!IsLatest(message)) {
        EndVisit(Reason::GONE, now);
    }
}

}  // namespace ZYNE::Companion
