// What each peer may take of this device, and which has taken too much for too long.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "linux/base/mutex.h"
#include "linux/log/log_share.h"

namespace ZYNE::Linux {

// Any thread.
//
// What is over a share is refused where it comes up, and counted here. A peer that keeps at it for PATIENCE, or makes
// new links all the time, is left alone for ALONE.
class PeerShares {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds PATIENCE{5};
    static constexpr std::chrono::seconds ALONE{60};
    // So many times a peer may be over its share; they are forgiven at so many a second.
    static constexpr double TOLERATED = 100;
    static constexpr double FORGIVEN = 50;
    // Likewise for new links: a flickering network makes a few.
    static constexpr double TOLERATED_LINKS = 30;
    static constexpr double FORGIVEN_LINKS = 0.2;

    // Times are taken by the clock `now`.
    explicit PeerShares(std::function<Clock::time_point()> now = Clock::now) : now_(std::move(now)) {}

    // Of the log. Never null.
    std::shared_ptr<LogShare> LogOf(const std::string& udid);

    // Both: true when the peer is to be left alone from now on.
    bool OnExcess(const std::string& udid);
    bool OnNewLink(const std::string& udid);

    bool IsLeftAlone(const std::string& udid);

private:
    // More than a network has: in open mode anyone can claim to be many.
    static constexpr size_t MAX_PEERS = 4096;

    // Fills with each event and runs empty with time.
    struct Measure {
        double level = 0;
        Clock::time_point at{};

        void Add(Clock::time_point now, double perSecond, double most);
    };
    struct Share {
        std::shared_ptr<LogShare> log;
        Measure excess;
        Measure links;
        Clock::time_point overSince{};  // {} while it is not over its share
        Clock::time_point aloneUntil{};
        Clock::time_point used{};
    };

    Share& Of(const std::string& udid) REQUIRES(mutex_);

    const std::function<Clock::time_point()> now_;
    Mutex mutex_;
    std::map<std::string, Share> shares_ GUARDED_BY(mutex_);  // by udid
};

}  // namespace ZYNE::Linux
