// What happens at this device, and the time: each goes to the part that it concerns.
#include "companion/core/crossing_machine.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "companion/core/crossing_times.h"

namespace ZYNE::Companion {

CrossingMachine::CrossingMachine(std::string self, Desktop& desktop, Peers& peers, PassageWatch& watch)
    : self_(std::move(self)), desktop_(desktop), peers_(peers), watch_(watch), guest_(desktop) {}

void CrossingMachine::SetRules(const CrossingRules& rules) {
    rules_ = rules;
}

void CrossingMachine::SetPlacements(std::vector<Placement> placements) {
    placements_ = std::move(placements);
}

void CrossingMachine::OnScreens(const std::vector<Screen>& screens, TimePoint now) {
    CheckTime(now);
    const bool hadScreens = !desk_.IsEmpty();
    desk_ = Desk(screens);
    push_.Reset();
    pointer_.reset();
    if (hadScreens == desk_.IsEmpty()) {
        SendStatus();
    }
    if (state_ == State::HOST && desk_.IsEmpty()) {
        EndVisit(Reason::NO_DISPLAY, now);
    } else if (state_ == State::HOST) {
        guest_.StayOn(desk_);
        desktop_.Flush();
    }
}

void CrossingMachine::OnMotion(const Motion& motion, TimePoint now) {
    CheckTime(now);
    if (!std::isfinite(motion.dx) || !std::isfinite(motion.dy)) {
        return;
    }
    if (state_ == State::HOME) {
        MoveAtHome(motion, now);
    } else if (state_ == State::HOST) {
        PushGuest(guest_.Adopt(motion), now);
    } else {
        luggage_.Move(motion.dx, motion.dy);
        if (state_ == State::AWAY) {
            SendAway(Move{visit_, luggage_.Moved()}, now);
        }
    }
}

void CrossingMachine::OnKey(const KeyChange& key, TimePoint now) {
    CheckTime(now);
    if (key.code == 0 || key.code > MAX_KEY_CODE) {
        return;
    }
    if (key.isDown) {
        held_.insert(key.code);
    } else {
        held_.erase(key.code);
    }
    if (key.isDown && AreHomeKeysHeld(rules_, held_) && Return(now)) {
        return;
    }
    if (IsOut() && luggage_.Take(key)) {
        SendAway(Key{visit_, luggage_.Moved(), key}, now);
    }
}

void CrossingMachine::OnButton(const ButtonChange& button, TimePoint now) {
    CheckTime(now);
    if (IsOut() && luggage_.Take(button)) {
        SendAway(Click{visit_, luggage_.Moved(), button}, now);
    }
}

void CrossingMachine::OnScroll(const Scroll& scroll, TimePoint now) {
    CheckTime(now);
    if (IsOut()) {
        const Scroll bounded{
            std::clamp(scroll.dx, -MAX_SCROLL, MAX_SCROLL), std::clamp(scroll.dy, -MAX_SCROLL, MAX_SCROLL)};
        SendAway(Wheel{visit_, luggage_.Moved(), bounded}, now);
    }
}

void CrossingMachine::OnLocked(bool isLocked, TimePoint now) {
    CheckTime(now);
    if (std::exchange(isLocked_, isLocked) != isLocked) {
        SendStatus();
    }
    if (isLocked && state_ != State::HOME) {
        EndVisit(Reason::LOCKED, now);
    }
}

bool CrossingMachine::Return(TimePoint now) {
    CheckTime(now);
    if (state_ == State::HOME) {
        return false;
    }
    EndVisit(Reason::ASKED, now);
    return true;
}

void CrossingMachine::Stop(Reason reason, TimePoint now) {
    isStopped_ = true;
    if (state_ != State::HOME) {
        EndVisit(reason, now);
    }
}

std::optional<CrossingMachine::TimePoint> CrossingMachine::NextTime() const {
    if (state_ == State::HOME) {
        return std::nullopt;
    }
    return std::min(nextAlive_, state_ == State::LEAVING ? answerDue_ : heard_ + SILENCE);
}

void CrossingMachine::OnTime(TimePoint now) {
    CheckTime(now);
    if (state_ != State::HOME && now >= nextAlive_) {
        nextAlive_ = now + ALIVE_PERIOD;
        Send(peer_, Alive{visit_, Micros(now), IsOut() ? luggage_.Moved() : Total{}});
    }
}

void CrossingMachine::CheckTime(TimePoint now) {
    const bool isUnanswered = state_ == State::LEAVING && now >= answerDue_;
    if (isUnanswered || (state_ != State::HOME && now >= heard_ + SILENCE)) {
        EndVisit(Reason::SILENT, now);
    }
}

CrossingMachine::State CrossingMachine::GetState() const {
    return state_;
}

std::string CrossingMachine::Peer() const {
    return peer_;
}

const Counters& CrossingMachine::GetCounters() const {
    return counters_;
}

}  // namespace ZYNE::Companion
