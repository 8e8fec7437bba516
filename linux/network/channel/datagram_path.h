// Whether the datagrams of a channel arrive, as far as their sender knows.
//
// The receiver acknowledges, now and then, that some have come. While the sender knows that from lately, it trusts the
// path. Otherwise it tries it, at first with every message, later with one a second.
#pragma once

#include <chrono>
#include <optional>

namespace ZYNE::Linux {

// One thread. A time is that of the call; none is before an earlier one.
class DatagramPath {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::milliseconds TRUSTED{300};
    static constexpr std::chrono::milliseconds ACKNOWLEDGED_EACH{100};
    static constexpr std::chrono::seconds TRIED_OFTEN{3};
    static constexpr std::chrono::seconds TRIED_EACH{1};

    // Whether the message that is sent now goes as a datagram alone.
    bool IsTrusted(Time now) const { return acknowledged_ && now - *acknowledged_ < TRUSTED; }

    // Whether it goes as a datagram at all; then it counts as tried.
    bool Try(Time now) {
        if (!IsTrusted(now)) {
            trying_ = trying_.value_or(now);
            if (now - *trying_ >= TRIED_OFTEN && now - tried_ < TRIED_EACH) {
                return false;
            }
        }
        tried_ = now;
        return true;
    }

    // An acknowledgement has come.
    void OnAcknowledged(Time now) {
        acknowledged_ = now;
        trying_.reset();
    }

    // A message has come. Whether that is to be acknowledged; then it counts as done.
    bool MustAcknowledge(Time now) {
        if (acknowledging_ && now - *acknowledging_ < ACKNOWLEDGED_EACH) {
            return false;
        }
        acknowledging_ = now;
        return true;
    }

private:
    std::optional<Time> acknowledged_;   // by the other end, last
    std::optional<Time> acknowledging_;  // by this end, last
    std::optional<Time> trying_;         // since when an acknowledgement is missing
    Time tried_{};
};

}  // namespace ZYNE::Linux
