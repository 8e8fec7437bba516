// Sends this device's profile to one peer, as fast as it acknowledges.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "linux/network/profile/profile.pb.h"
#include "linux/network/profile/profile_changes.h"

namespace ZYNE::Linux {

// Gives a message to the link; false when that does not take it. Does not block.
using ProfileSend = std::function<bool(std::string message)>;

// One thread at a time.
//
// Of what the peer does not have it remembers where in the sequence it stands, and what is on its way: a peer that is
// slow costs no more than a window, and gets of a name that changes often only what it is when its turn comes. Small
// and large changes have a place in the sequence and a window each, so no small one waits for a large one.
class ProfileFeed {
public:
    // `changes` is there longer.
    ProfileFeed(const ProfileChanges& changes, ProfileSend send) : changes_(changes), send_(std::move(send)) {}

    // The peer's first word: goes on where it was when it knows this `run`. False when that cannot be.
    bool Begin(const Wire::ProfileResume& resume, const std::string& run);
    // False when nothing of that sequence is on its way.
    bool OnAck(const Wire::ProfileAck& ack);
    // Sends what there is as far as the windows reach.
    void SendMore();

    // Whether a deletion is still to be sent.
    bool Needs(uint64_t deletion) const;
    // Sends nothing more.
    void GiveUp() { isGoing_ = false; }
    // Whether the peer has everything, or gets nothing. Of one that has not said its first word that is not known.
    bool IsDone() const;

private:
    struct OnItsWay {
        size_t bytes;
        ProfileName name;
    };
    struct Lane {
        size_t mostChanges;
        size_t mostBytes;
        uint64_t next = 1;  // older ones have been sent
        std::map<uint64_t, OnItsWay> onTheirWay{};
        size_t bytes = 0;              // of onTheirWay
        std::set<uint64_t> refused{};  // by the peer
        std::set<uint64_t> again{};    // refused, and to be sent again before what is next
    };

    bool IsKnown(const OwnChange& change) const;
    const OwnChange* Next(ProfileLane which);
    bool SendOne(Lane& lane, const OwnChange& change);
    void SendFrom(ProfileLane which);
    bool TryRefusedAgain();
    bool IsOvertaking(const OwnChange& change) const;
    uint64_t Floor() const;

    const ProfileChanges& changes_;
    const ProfileSend send_;
    bool hasBegun_ = false;
    bool isGoing_ = false;
    uint64_t snapshotEnd_ = 0;      // deletions up to here are nothing to the peer
    std::vector<uint64_t> beyond_;  // what it has from an earlier link; in ascending order
    bool hasTaken_ = false;         // something, since it was last tried to send again what it refused
    std::array<Lane, PROFILE_LANES> lanes_{
        Lane{512, size_t{256} << 10U}, Lane{ProfileBounds::RECORDS, size_t{1} << 20U}};
};

}  // namespace ZYNE::Linux
