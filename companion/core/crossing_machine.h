// Decides where the pointer is, and what becomes of each motion, key and button.
//
//     CrossingMachine machine("3f2a", desktop, peers, watch, rules);
//     machine.OnScreens(desktop.GetScreens());
//     machine.OnMotion(motion, now);     // and so on, as things happen
//     machine.OnTime(now);               // when NextTime() has come
//
// A device is at one time in one of four states: its pointer is at home; it is leaving for a peer that has not said
// yes; it is away at a peer; or the pointer of a peer is here. Whatever ends a visit, each side by itself lets go of
// all that it has pressed or captured.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "companion/core/crossing_rules.h"
#include "companion/core/desk.h"
#include "companion/core/edge_push.h"
#include "companion/core/guest.h"
#include "companion/core/input.h"
#include "companion/core/luggage.h"
#include "companion/core/message.h"
#include "companion/core/peer_states.h"
#include "companion/core/placement.h"
#include "companion/desktop/desktop.h"

namespace ZYNE::Companion {

// Sends to companions of peers; a device is named by its id.
class Peers {
public:
    // False when it cannot be sent; a message of "motion" may still get lost when it can. Calls nothing back.
    virtual bool Send(const std::string& peer, const Message& message) = 0;

protected:
    ~Peers() = default;
};

// What has happened to the pointer, for people. REFUSED of one peer comes once a second at the most.
struct Passage {
    enum class Kind { ENTERED, CAME_HOME, GUEST_CAME, GUEST_LEFT, REFUSED };
    Kind kind = Kind::ENTERED;
    std::string peer;  // the id
    Reason reason = Reason::OVER_EDGE;
    std::string words;  // more about it; may be empty
};

class PassageWatch {
public:
    virtual void OnPassage(const Passage& passage) = 0;

protected:
    ~PassageWatch() = default;
};

struct Counters {
    uint64_t sent = 0;     // motions, keys, buttons and wheel, to peers
    uint64_t dropped = 0;  // messages that no channel took, or that came too late or made no sense
    std::optional<std::chrono::microseconds> roundTrip;  // the last
};

struct CrossingFact {
    std::string name;
    bool holds;
};

// One thread at a time. `now` never goes back. Calls its desktop, peers and watch during its own calls; they do not
// call back.
class CrossingMachine {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    enum class State { HOME, LEAVING, AWAY, HOST };

    // `self` is the id of this device.
    CrossingMachine(std::string self, Desktop& desktop, Peers& peers, PassageWatch& watch);

    void SetRules(const CrossingRules& rules);
    // All that hold for this device: its own, and those of its peers, mirrored. A pointer that is away stays there when
    // its way back goes: the keys and Return bring it home.
    void SetPlacements(std::vector<Placement> placements);

    void OnScreens(const std::vector<Screen>& screens, TimePoint now);
    void OnMotion(const Motion& motion, TimePoint now);
    void OnKey(const KeyChange& key, TimePoint now);
    void OnButton(const ButtonChange& button, TimePoint now);
    void OnScroll(const Scroll& scroll, TimePoint now);
    // This device's own session: nobody may use it from elsewhere, and its keyboard is wanted here.
    void OnLocked(bool isLocked, TimePoint now);

    // The channels to the peer's companion are open, or gone.
    void OnPeerUp(const std::string& peer, TimePoint now);
    void OnPeerDown(const std::string& peer, TimePoint now);
    // What the device tells of a peer's screen, which may be sooner than the peer's own word.
    void OnPeerLocked(const std::string& peer, bool isLocked, TimePoint now);
    // Copied is nothing to this class.
    void OnMessage(const std::string& peer, const Message& message, TimePoint now);
    // It has sent what Read does not take.
    void OnNonsense(const std::string& peer);

    // Brings the pointer home from wherever it is; a guest's as well. False when nobody is away.
    bool Return(TimePoint now);
    // Ends whatever is under way; from then on nothing begins.
    void Stop(Reason reason, TimePoint now);

    // When OnTime is to be called; nothing while there is nothing to wait for.
    std::optional<TimePoint> NextTime() const;
    void OnTime(TimePoint now);

    State GetState() const;
    std::string Peer() const;  // the other one of a visit; empty at home
    const Counters& GetCounters() const;
    // What must hold for crossing to `peer`, in the order in which it is asked.
    std::vector<CrossingFact> Explain(const std::string& peer) const;

private:
    // Every input: ends a visit of which nothing was heard for too long. What has been waiting while this process was
    // stopped is met by that, too.
    void CheckTime(TimePoint now);

    // Of peers, see crossing_peers.cpp.
    bool Send(const std::string& peer, const Message& message);
    void SendStatus();
    bool IsReady(const std::string& peer) const;
    void CheckPeer(const std::string& peer, TimePoint now);
    void Drop() { ++counters_.dropped; }
    void Tell(Passage::Kind kind, const std::string& peer, Reason reason, const std::string& words = {});
    void TellRefusal(const std::string& peer, Reason reason, const std::string& words, TimePoint now);

    // What ends a visit, on either side: with a word to the peer, or when it knows already.
    void EndVisit(Reason reason, TimePoint now);
    void FinishVisit(Reason reason, TimePoint now);
    void BeginVisit(State state, const std::string& peer, Visit visit, TimePoint now);
    bool IsVisit(const std::string& peer, Visit visit) const;
    bool IsVisit(const std::string& peer, Visit visit, State state) const;

    // This device's own pointer, see crossing_away.cpp.
    bool IsOut() const { return state_ == State::LEAVING || state_ == State::AWAY; }
    void MoveAtHome(const Motion& motion, TimePoint now);
    bool TryLeave(Side side, TimePoint now);
    void Depart(const Crossing& crossing, const Locks& locks, TimePoint now);
    void GoOn(const Left& left, TimePoint now);
    void ComeHome(Reason reason, Point at, TimePoint now);
    void SendAway(const Message& message, TimePoint now);

    // The pointer of a peer here, see crossing_host.cpp.
    std::optional<Reason> WhyNoGuest(const std::string& peer) const;
    void TakeIn(const std::string& peer, const Enter& enter, TimePoint now);
    // A Key or a Click.
    template <typename Message, typename Change>
    void PressForGuest(const std::string& peer, const Message& message, const Change& change, TimePoint now);
    bool MoveGuest(const Total& total, TimePoint now);
    void PushGuest(const Shift& shift, TimePoint now);
    bool TryLetGo(Side side);
    void EndGuest(Reason reason);

    // One for each message; the peer is up and has our version.
    void Handle(const std::string& peer, const Hello& hello, TimePoint now);
    void Handle(const std::string& peer, const Status& status, TimePoint now);
    void Handle(const std::string& peer, const Enter& enter, TimePoint now);
    void Handle(const std::string& peer, const Entered& entered, TimePoint now);
    void Handle(const std::string& peer, const Refused& refused, TimePoint now);
    void Handle(const std::string& peer, const Key& key, TimePoint now);
    void Handle(const std::string& peer, const Click& click, TimePoint now);
    void Handle(const std::string& peer, const Wheel& wheel, TimePoint now);
    void Handle(const std::string& peer, const Left& left, TimePoint now);
    void Handle(const std::string& peer, const Ended& ended, TimePoint now);
    void Handle(const std::string& peer, const Copied& copied, TimePoint now);
    void Handle(const std::string& peer, const Move& move, TimePoint now);
    void Handle(const std::string& peer, const Alive& alive, TimePoint now);
    void Handle(const std::string& peer, const Echo& echo, TimePoint now);

    const std::string self_;
    Desktop& desktop_;
    Peers& peers_;
    PassageWatch& watch_;

    CrossingRules rules_;
    std::vector<Placement> placements_;
    PeerStates known_;
    Desk desk_;
    bool isLocked_ = false;
    bool isStopped_ = false;
    std::set<KeyCode> held_;  // by persons at this device
    Counters counters_;

    State state_ = State::HOME;
    EdgePush push_;                 // of the pointer that is here, this device's own or the guest
    std::optional<Point> pointer_;  // this device's own while it is at home, once it has moved

    // Of a visit; all but the first two mean nothing at home.
    std::string peer_;
    Visit visit_ = 0;
    TimePoint heard_;      // something of this visit, last
    TimePoint nextAlive_;  // to be sent

    uint32_t departures_ = 0;
    TimePoint answerDue_;      // while LEAVING
    bool hasEntered_ = false;  // some peer, since it left home
    Point homePoint_;          // where the pointer left
    Side homeSide_ = Side::LEFT;
    Luggage luggage_;

    Guest guest_;
};

}  // namespace ZYNE::Companion
