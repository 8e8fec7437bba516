#include "linux/profile/change_queue.h"

#include "linux/base/run_task.h"

namespace ZYNE::Linux {

void ChangeQueue::Add(const ProfileStep& step) {
    const ProfileRecord& record = step.before ? *step.before : *step.after;
    Key key{record.profile.GetDeviceId(), ProfileName(record)};
    const auto known = byKey_.find(key);
    if (known == byKey_.end()) {
        if (!step.isForgotten) {
            waiting_.emplace_back(key, Change{step.before, !step.after, step.after});
            byKey_.emplace(std::move(key), std::prev(waiting_.end()));
        }
        return;
    }
    Change& change = known->second->second;
    change.isDeleted = change.isDeleted || (change.told && !step.after && !step.isForgotten);
    change.now = step.after;
    if (!change.isDeleted && !change.now) {
        Remove(known->second);
    }
}

std::optional<ChangeQueue::Change> ChangeQueue::Take() {
    if (waiting_.empty()) {
        return std::nullopt;
    }
    std::optional<Change> change(std::move(waiting_.front().second));
    Remove(waiting_.begin());
    return change;
}

void ChangeQueue::Remove(Waiting::iterator at) {
    byKey_.erase(at->first);
    waiting_.erase(at);
}

void ChangeQueue::Tell(const Change& change, const Teller& tell) {
    const auto call = [&](ProfileChange what, const RecordPtr& before, const RecordPtr& after) {
        RunTask([&] { tell(what, before->profile, after->profile); });
    };
    if (change.isDeleted) {
        call(ProfileChange::DELETED, change.told, change.told);
    }
    if (!change.now) {
        return;
    }
    if (change.isDeleted || !change.told) {
        call(ProfileChange::ADDED, change.now, change.now);
    } else if (!HasSameContent(*change.told, *change.now)) {
        call(ProfileChange::UPDATED, change.told, change.now);
    }
}

}  // namespace ZYNE::Linux
