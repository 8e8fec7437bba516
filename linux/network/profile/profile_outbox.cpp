#include "linux/network/profile/profile_outbox.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {

void ProfileOutbox::Publish(const RecordPtr& record, bool isDeleted) {
    const MutexLock lock(mutex_);
    changes_.Add(record, isDeleted);
    for (auto& [udid, feed] : feeds_) {
        feed.SendMore();
    }
    DropOldDeletions();
}

void ProfileOutbox::OnUp(const std::string& udid, ProfileSend send) {
    const MutexLock lock(mutex_);
    feeds_.erase(udid);
    feeds_.try_emplace(udid, changes_, std::move(send));
}

void ProfileOutbox::OnDown(const std::string& udid) {
    const MutexLock lock(mutex_);
    feeds_.erase(udid);
    DropOldDeletions();
    taken_.notify_all();
}

bool ProfileOutbox::OnResume(const std::string& udid, const Wire::ProfileResume& resume) {
    const MutexLock lock(mutex_);
    const auto feed = feeds_.find(udid);
    return feed != feeds_.end() && feed->second.Begin(resume, run_);
}

bool ProfileOutbox::OnAck(const std::string& udid, const Wire::ProfileAck& ack) {
    const MutexLock lock(mutex_);
    const auto feed = feeds_.find(udid);
    const bool isKnown = feed != feeds_.end() && feed->second.OnAck(ack);
    if (isWaitedFor_ && IsTaken()) {
        taken_.notify_all();
    }
    return isKnown;
}

void ProfileOutbox::DropOldDeletions() {
    while (changes_.CountOfDeletions() > KEPT_DELETIONS) {
        const uint64_t oldest = changes_.OldestDeletion();
        for (auto& [udid, feed] : feeds_) {
            if (!feed.Needs(oldest)) {
                continue;
            }
            if (changes_.CountOfDeletions() <= MAX_DELETIONS) {
                return;
            }
            feed.GiveUp();
            if (onBehind_) {
                onBehind_(udid);
            }
        }
        changes_.DropOldestDeletion();
    }
}

bool ProfileOutbox::IsTaken() const {
    return std::ranges::all_of(feeds_, [](const auto& feed) { return feed.second.IsDone(); });
}

bool ProfileOutbox::WaitUntilTaken(std::chrono::nanoseconds longest) {
    MutexLock lock(mutex_);
    isWaitedFor_ = true;
    const bool isTaken = taken_.wait_for(lock, longest, [this]() REQUIRES(mutex_) { return IsTaken(); });
    isWaitedFor_ = false;
    return isTaken;
}

}  // namespace ZYNE::Linux
