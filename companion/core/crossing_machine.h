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
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "companion/core/input.h"
#include "companion/core/message.h"
#include "companion/core/placement.h"
#include "companion/desktop/desktop.h"

namespace ZYNE::Companion {

// How an edge is crossed, and what brings the pointer home.
struct CrossingRules {
    int32_t push = 0;            // pixels that the pointer is pushed on at the edge; 0 crosses at once
    int32_t corner = 0;          // pixels from a corner, on either side, that never cross
    std::set<KeyCode> modifier;  // one of them must be held; empty for none
    bool drags = false;          // whether a pointer with a button down crosses
    std::set<KeyCode> homeKeys;  // held together they bring the pointer home: left and right of a modifier count alike
};

// Sends to companions of peers; a device is named by its id.
class Peers {
public:
    // False when it cannot be sent; a message of "motion" may still get lost when it can. Calls nothing back.
    virtual bool Send(const std::string& peer, const Message& message) = 0;

protected:
    ~Peers() = default;
};

// What has happened to the pointer, for people.
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
    uint64_t sent = 0;     // events that were sent to peers
    uint64_t dropped = 0;  // those that no channel took, or that came too late or made no sense
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
    // All that hold for this device: its own, and those of its peers, mirrored.
    void SetPlacements(std::vector<Placement> placements);

    void OnScreens(const std::vector<Screen>& screens, TimePoint now);
    void OnMotion(const Motion& motion, TimePoint now);
    void OnKey(const KeyChange& key, TimePoint now);
    void OnButton(const ButtonChange& button, TimePoint now);
    void OnScroll(const Scroll& scroll, TimePoint now);
    // This device's own screen.
    void OnLocked(bool isLocked, TimePoint now);

    // The channels to the peer's companion are open, or gone.
    void OnPeerUp(const std::string& peer, TimePoint now);
    void OnPeerDown(const std::string& peer, TimePoint now);
    // What the device tells of a peer's screen, which may be sooner than the peer's own word.
    void OnPeerLocked(const std::string& peer, bool isLocked, TimePoint now);
    void OnMessage(const std::string& peer, const Message& message, TimePoint now);

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
};

}  // namespace ZYNE::Companion
