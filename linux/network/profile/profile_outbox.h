// Publishes this device's profile to all peers.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <string>

#include "linux/base/mutex.h"
#include "linux/network/profile/profile.pb.h"
#include "linux/network/profile/profile_changes.h"
#include "linux/network/profile/profile_feed.h"

namespace ZYNE::Linux {

// Any thread. Its lock is held while a link takes a message, and while `onBehind` runs: neither may come back here.
class ProfileOutbox {
public:
    // As many deletions are kept for peers that are away.
    static constexpr size_t KEPT_DELETIONS = 1024;
    // More are not kept for a peer that takes nothing.
    static constexpr size_t MAX_DELETIONS = 16384;

    // `run` tells this run of the device from the others. `onBehind` gets a peer that takes so little that it is sent
    // nothing any more, until it has a new link.
    ProfileOutbox(std::string run, std::function<void(const std::string& udid)> onBehind)
        : run_(std::move(run)), onBehind_(std::move(onBehind)) {}

    void Publish(const RecordPtr& record, bool isDeleted);

    // A peer has a link, or none any more. On a link that is up it first says what it has.
    void OnUp(const std::string& udid, ProfileSend send);
    void OnDown(const std::string& udid);
    // What the peer says. False when it makes no sense.
    bool OnResume(const std::string& udid, const Wire::ProfileResume& resume);
    bool OnAck(const std::string& udid, const Wire::ProfileAck& ack);

    // Waits until the peers have everything, or refuse it: false when that took longer. Not on the thread that gives
    // the acknowledgements.
    bool WaitUntilTaken(std::chrono::nanoseconds longest);

private:
    void DropOldDeletions() REQUIRES(mutex_);
    bool IsTaken() const REQUIRES(mutex_);

    const std::string run_;
    const std::function<void(const std::string& udid)> onBehind_;

    Mutex mutex_;
    std::condition_variable taken_;
    ProfileChanges changes_ GUARDED_BY(mutex_);
    std::map<std::string, ProfileFeed> feeds_ GUARDED_BY(mutex_);  // by udid
    bool isWaitedFor_ GUARDED_BY(mutex_) = false;                  // somebody waits for taken_
};

}  // namespace ZYNE::Linux
