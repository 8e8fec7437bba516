#include "linux/base/call_queue.h"

#include <utility>

namespace ZYNE::Linux {

bool CallQueue::Enter(Call& call) {
    const MutexLock lock(mutex_);
    const bool isFull = waiting_ >= limits_.waiting || waitingBytes_ + call.bytes > limits_.waitingBytes;
    if (isClosed_ || (isFull && !StartsAtOnce(call))) {
        return false;
    }
    Target& target = targets_[call.target];
    const bool hadTurn = HasTurn(target);
    std::deque<Call>& calls = target.waiting[call.client];
    if (calls.empty()) {
        target.turns.push_back(call.client);
    }
    if (!hadTurn && HasTurn(target)) {
        turns_.push_back(call.target);
    }
    ++waiting_;
    waitingBytes_ += call.bytes;
    calls.push_back(std::move(call));
    return true;
}

bool CallQueue::StartsAtOnce(const Call& call) const {
    const auto found = targets_.find(call.target);
    const bool isFree =
        found == targets_.end() || (found->second.turns.empty() && found->second.underWay < limits_.ofOneTarget);
    return isFree && turns_.empty() && underWay_ < limits_.atOnce;
}

std::optional<CallQueue::Call> CallQueue::Next() {
    const MutexLock lock(mutex_);
    if (turns_.empty() || underWay_ >= limits_.atOnce) {
        return std::nullopt;
    }
    Target& target = targets_.at(turns_.front());
    turns_.pop_front();
    std::optional<Call> call(TakeFrom(target));
    ++underWay_;
    ++target.underWay;
    if (HasTurn(target)) {
        turns_.push_back(call->target);
    }
    return call;
}

CallQueue::Call CallQueue::TakeFrom(Target& target) {
    std::string client = std::move(target.turns.front());
    target.turns.pop_front();
    const auto found = target.waiting.find(client);
    Call call = std::move(found->second.front());
    found->second.pop_front();
    if (found->second.empty()) {
        target.waiting.erase(found);
    } else {
        target.turns.push_back(std::move(client));
    }
    --waiting_;
    waitingBytes_ -= call.bytes;
    return call;
}

void CallQueue::Leave(const std::string& target) {
    const MutexLock lock(mutex_);
    const auto found = targets_.find(target);
    const bool hadTurn = HasTurn(found->second);
    --underWay_;
    --found->second.underWay;
    if (found->second.underWay == 0 && found->second.turns.empty()) {
        targets_.erase(found);
    } else if (!hadTurn && HasTurn(found->second)) {
        turns_.push_back(target);
    }
}

std::vector<CallQueue::Call> CallQueue::Close() {
    std::vector<Call> left;
    const MutexLock lock(mutex_);
    isClosed_ = true;
    turns_.clear();
    for (auto& [name, target] : targets_) {
        while (!target.turns.empty()) {
            left.push_back(TakeFrom(target));
        }
    }
    return left;
}

}  // namespace ZYNE::Linux
