// Tells what this companion has injected from what somebody else did with the same device of the server.
#pragma once

#include <cstdint>
#include <deque>

#include "companion/core/geometry.h"

namespace ZYNE::Companion {

// One thread at a time.
//
// The server makes the event while it works on the request, and an event carries the number of the last request of the
// connection that it goes to. So the first event with the number of an injection is the injection's. While a program
// has frozen the device, events come later, in their order: then the content decides. An injection may also make no
// event, when it changes nothing; it is forgotten when a later one has been seen.
class OwnEvents {
public:
    enum class Kind : uint8_t { MOTION, KEY, BUTTON };
    struct Event {
        Kind kind = Kind::MOTION;
        bool isDown = false;
        uint32_t code = 0;  // of the key or button, as the server counts
        Point to;           // of a motion

        bool operator==(const Event&) const = default;
    };

    // Injected with request number `sequence`.
    void Add(uint32_t sequence, const Event& event);
    // The server has refused that request.
    void Drop(uint32_t sequence);
    // Whether this event, which came with that number from the device for injections, is one of our own. It is taken
    // out then.
    bool Take(uint32_t sequence, const Event& event);
    // Whether an injection with that key or button has made no event yet.
    bool Expects(Kind kind, uint32_t code) const;

private:
    struct Own {
        uint32_t sequence;
        Event event;
    };
    // Keyboard and pointer are devices of their own, each with its order.
    std::deque<Own>& QueueOf(Kind kind) { return kind == Kind::KEY ? keys_ : pointer_; }
    const std::deque<Own>& QueueOf(Kind kind) const { return kind == Kind::KEY ? keys_ : pointer_; }

    std::deque<Own> keys_;
    std::deque<Own> pointer_;
};

}  // namespace ZYNE::Companion
