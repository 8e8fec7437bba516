// What two companions say to each other, see docs/crossing.md.
//
// Hello to Copied go over the channel "desk", in order, and none is lost; Move, Alive and Echo over "motion", where one
// that is late or lost does not matter.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "companion/core/input.h"

namespace ZYNE::Companion {

inline constexpr uint16_t WIRE_VERSION = 1;
inline constexpr int64_t MAX_TOTAL = int64_t{1} << 56U;  // of a Total, either way
inline constexpr int32_t MAX_SCROLL = 12000;             // of a Wheel, either way

// A stay of one device's pointer at another device, numbered by the former; never 0.
using Visit = uint32_t;

// How far the pointer has been moved since it entered, in 1/65536 of a pixel. `number` grows with each motion, so that
// the newest of several is known.
struct Total {
    uint32_t number = 0;
    int64_t x = 0;
    int64_t y = 0;

    bool operator==(const Total&) const = default;
};

// Where a pointer comes in: the place along a side of a display, or of the whole desk when `display` is empty; 0 is the
// upper or left end, 65535 the other.
struct Gate {
    Side side = Side::LEFT;
    std::string display;
    uint16_t place = 0;

    bool operator==(const Gate&) const = default;
};

enum class Reason : uint8_t {
    OVER_EDGE = 1,  // moved there
    ASKED = 2,      // the keys or the command that bring it home
    LOCKED = 3,
    NO_DISPLAY = 4,
    SWITCHED_OFF = 5,  // crossing on one side, or the companion ends
    SILENT = 6,        // nothing was heard for too long
    GONE = 7,          // the peer, its companion or the way there
    BUSY = 8,          // another pointer is there, or its own is away
    NO_NEIGHBOUR = 9,
    CAPTURE_FAILED = 10,
    NONSENSE = 11  // the peer does not keep to the rules
};

struct Hello {
    uint16_t version = WIRE_VERSION;
};
// Sent after Hello and on each change.
struct Status {
    bool hasScreens = false;
    bool isLocked = false;
};
struct Enter {
    Visit visit = 0;
    Gate gate;
    Locks locks;
    std::set<KeyCode> keys;  // held
    std::set<Button> buttons;
};
struct Entered {
    Visit visit = 0;
};
struct Refused {
    Visit visit = 0;
    Reason reason = Reason::BUSY;
};
struct Key {
    Visit visit = 0;
    Total total;
    KeyChange key;
};
struct Click {
    Visit visit = 0;
    Total total;
    ButtonChange button;
};
struct Wheel {
    Visit visit = 0;
    Total total;
    Scroll scroll;
};
// From where the pointer is: it has left over an edge, for `device`, which may be the one that it came from. What has
// been moved beyond `total` has had no effect yet.
struct Left {
    Visit visit = 0;
    Total total;
    std::string device;
    Gate gate;
};
// From either side: the visit is over, and the sender has let go of all that it held for it.
struct Ended {
    Visit visit = 0;
    Reason reason = Reason::ASKED;
};
// Something was copied; bit N stands for the content type N. `number` grows.
struct Copied {
    uint32_t number = 0;
    uint8_t types = 0;
};

struct Move {
    Visit visit = 0;
    Total total;
};
// Both ways during a visit, also while nothing moves. `micros` is the sender's own clock.
struct Alive {
    Visit visit = 0;
    uint64_t micros = 0;
    Total total;  // from the pointer's own device
};
struct Echo {
    Visit visit = 0;
    uint64_t micros = 0;  // as it came
};

// The place of an alternative is its number on the wire; Hello stays the first for ever.
using Message =
    std::variant<Hello, Status, Enter, Entered, Refused, Key, Click, Wheel, Left, Ended, Copied, Move, Alive, Echo>;

// Whether it goes over "motion".
bool IsLatest(const Message& message);

std::string Write(const Message& message);
// Nothing when the bytes are not exactly one message of this version with sensible values. Only Hello is read whatever
// its version.
std::optional<Message> Read(std::string_view bytes);

// In a few words, for people.
std::string Words(Reason reason);

}  // namespace ZYNE::Companion
