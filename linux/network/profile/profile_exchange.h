// Both directions of the device profile on all links: what to say on them, and what is said.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include "linux/network/profile/profile_inbox.h"
#include "linux/network/profile/profile_outbox.h"

namespace ZYNE::Linux {

// A device has at most one link at a time. Whatever arrives on it is of the profile of that device.
class ProfileExchange {
public:
    using Clock = ProfileInbox::Clock;

    // Called with the peer's udid; may be empty. They must not call back here.
    struct Hooks {
        // For each change by which a peer is over its share; on the network's thread.
        std::function<void(const std::string& udid)> onExcess{};
        // The peer takes so little that nothing more is sent on this link, which has to end; any thread, under locks.
        std::function<void(const std::string& udid)> onBehind{};
    };

    // `run` tells this run of the device from the others: 1 to 64 bytes.
    ProfileExchange(std::string run, ProfileInlet& inlet, Hooks hooks, std::function<Clock::time_point()> now)
        : inbox_(inlet, std::move(now), std::move(hooks.onExcess)), outbox_(std::move(run), std::move(hooks.onBehind)) {
    }

    // Any thread. A small change is given to the links that have room before this returns.
    void Publish(const RecordPtr& record, bool isDeleted) { outbox_.Publish(record, isDeleted); }

    // The network's thread.
    void OnUp(const std::string& udid, const ProfileSend& send);
    // False when the message is not one of a device that holds to the protocol, or cannot be answered.
    bool OnMessage(const std::string& udid, std::string_view message);
    void OnDown(const std::string& udid);
    void DropOld() { inbox_.DropOld(); }

    // Any thread but the network's.
    bool WaitUntilTaken(std::chrono::nanoseconds longest) { return outbox_.WaitUntilTaken(longest); }

private:
    ProfileInbox inbox_;  // the network's thread
    ProfileOutbox outbox_;
};

}  // namespace ZYNE::Linux
