// The pointer of a peer at this device. What the peer says is never trusted: it presses keys here only during the visit
// that this device has agreed to.
#include "companion/core/crossing_machine.h"

namespace ZYNE::Companion {

void CrossingMachine::Handle(const std::string& peer, const Enter& enter, TimePoint now) {
    if (const std::optional<Reason> why = WhyNoGuest(peer)) {
        Send(peer, Refused{enter.visit, *why});
        return;
    }
    if (state_ == State::HOST) {
        EndGuest(Reason::GONE);  // the same peer knows nothing of that visit any more
    } else if (state_ == State::LEAVING) {
        EndVisit(Reason::BUSY, now);  // both are about to enter each other, and the peer goes first
    }
    TakeIn(peer, enter, now);
}

std::optional<Reason> CrossingMachine::WhyNoGuest(const std::string& peer) const {
    if (isStopped_) {
        return Reason::SWITCHED_OFF;
    }
    if (isLocked_) {
        return Reason::LOCKED;
    }
    if (desk_.IsEmpty()) {
        return Reason::NO_DISPLAY;
    }
    const bool isTaken = state_ == State::HOST && peer != peer_;
    const bool goesFirst = state_ == State::LEAVING && (peer != peer_ || self_ < peer);
    return state_ == State::AWAY || isTaken || goesFirst ? std::optional(Reason::BUSY) : std::nullopt;
}

void CrossingMachine::TakeIn(const std::string& peer, const Enter& enter, TimePoint now) {
    BeginVisit(State::HOST, peer, enter.visit, now);
    guest_.Begin(enter, desk_);
    desktop_.Flush();
    Tell(Passage::Kind::GUEST_CAME, peer, Reason::OVER_EDGE);
    if (!Send(peer, Entered{enter.visit})) {
        FinishVisit(Reason::GONE, now);
    }
}

void CrossingMachine::Handle(const std::string& peer, const Move& move, TimePoint now) {
    if (!IsVisit(peer, move.visit, State::HOST)) {
        Drop();
        return;
    }
    heard_ = now;
    if (!MoveGuest(move.total, now)) {
        Drop();
    }
}

void CrossingMachine::Handle(const std::string& peer, const Key& key, TimePoint now) {
    PressForGuest(peer, key, key.key, now);
}

void CrossingMachine::Handle(const std::string& peer, const Click& click, TimePoint now) {
    PressForGuest(peer, click, click.button, now);
}

template <typename Message, typename Change>
void CrossingMachine::PressForGuest(
    const std::string& peer, const Message& message, const Change& change, TimePoint now) {
    if (!IsVisit(peer, message.visit, State::HOST)) {
        Drop();
        return;
    }
    heard_ = now;
    MoveGuest(message.total, now);
    if (state_ != State::HOST || !guest_.Press(change)) {
        Drop();
    }
    desktop_.Flush();
}

void CrossingMachine::Handle(const std::string& peer, const Wheel& wheel, TimePoint now) {
    if (!IsVisit(peer, wheel.visit, State::HOST)) {
        Drop();
        return;
    }
    heard_ = now;
    MoveGuest(wheel.total, now);
    if (state_ == State::HOST) {
        desktop_.ScrollBy(wheel.scroll);
        desktop_.Flush();
    } else {
        Drop();
    }
}

// False when this says nothing new. The guest may have left afterwards.
bool CrossingMachine::MoveGuest(const Total& total, TimePoint now) {
    const std::optional<Shift> shift = guest_.Take(total, desk_);
    if (!shift) {
        return false;
    }
    desktop_.Flush();
    PushGuest(*shift, now);
    return true;
}

void CrossingMachine::PushGuest(const Shift& shift, TimePoint now) {
    for (const Side side : push_.Push(desk_, rules_, guest_.At(), shift, now)) {
        if (TryLetGo(side)) {
            return;
        }
    }
}

bool CrossingMachine::TryLetGo(Side side) {
    const std::optional<Crossing> crossing = desk_.Over(guest_.At(), side, placements_);
    if (!crossing || (crossing->peer != peer_ && !IsReady(crossing->peer))) {
        return false;
    }
    std::set<KeyCode> keys = guest_.Keys();
    keys.insert(held_.begin(), held_.end());
    if (!MayPass(rules_, keys, guest_.Buttons())) {
        return false;
    }
    const std::string peer = peer_;
    const Left left{visit_, guest_.Taken(), crossing->peer, crossing->gate};
    EndGuest(Reason::OVER_EDGE);
    Send(peer, left);
    return true;
}

void CrossingMachine::EndGuest(Reason reason) {
    const std::string peer = peer_;
    state_ = State::HOME;
    peer_.clear();
    visit_ = 0;
    guest_.End();
    desktop_.Flush();
    pointer_ = guest_.At();
    push_.Reset();
    Tell(Passage::Kind::GUEST_LEFT, peer, reason);
}

}  // namespace ZYNE::Companion
