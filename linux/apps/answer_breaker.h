// Whether an extension that leaves requests unanswered is asked any further.
#pragma once

#include <chrono>

namespace ZYNE::Linux {

// For one thread at a time.
class AnswerBreaker {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    static constexpr int MAX_MISSES = 3;

    // `answerTime` is how long a request waits.
    explicit AnswerBreaker(std::chrono::milliseconds answerTime) : pause_(2 * answerTime) {}

    // False for twice the answer time after a miss.
    bool MayAsk(TimePoint now) const { return now >= pausedUntil_; }

    // A request was answered, if only by a refusal.
    void TakeAnswer();

    // A request that was sent at `sent` has waited in vain until `now`. True, once, when it is one miss in a row too
    // many. Requests that were under way together count as one: nobody could know of the first when the next was sent.
    bool TakeMiss(TimePoint sent, TimePoint now);

private:
    const std::chrono::milliseconds pause_;
    int misses_ = 0;  // in a row
    TimePoint lastMiss_ = TimePoint::min();
    TimePoint pausedUntil_ = TimePoint::min();
};

}  // namespace ZYNE::Linux
