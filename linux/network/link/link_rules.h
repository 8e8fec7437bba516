// Which of several connections to one device is its link.
//
// Of each pair of devices, the one with the smaller udid decides; so both come to the same answer whoever opened what.
// What is decided here depends on nothing but its arguments.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace ZYNE::Linux {

using Milliseconds = std::chrono::milliseconds;

// A device's run at the other end, as it has introduced itself.
struct PeerRun {
    std::string run;
    Milliseconds age{};  // how long the run lasts, as of now
    bool holdsLink = false;
    uint64_t lastBegin = 0;
};

// The link that there is, or that was begun.
struct HeldLink {
    std::string run;
    Milliseconds age{};    // how long its run lasts, as of now
    uint64_t begin = 0;    // the number under which it was begun
    bool isReady = false;  // the other side has said so
};

enum class LinkChoice {
    TAKE,        // the new connection becomes the link, instead of what was there
    KEEP,        // it is one too many
    KEEP_ELDER,  // it is of another run of the same identity, and the one that has the link has run for longer
    TAKE_ELDER   // likewise, but the new one has run for longer
};

// What the decider does with a new connection; `held` is what it has, null for nothing.
//
// A device that opens a connection although it had said that it is ready has lost the link that we still see; one that
// had not heard of it yet has not.
LinkChoice ChooseLink(const HeldLink* held, const PeerRun& newcomer);

// What the other device does when told to begin: what the decider says, unless that is another run than the one it has.
LinkChoice ChooseWhenTold(const HeldLink* held, const PeerRun& newcomer);

}  // namespace ZYNE::Linux
