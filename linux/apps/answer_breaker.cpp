#include "linux/apps/answer_breaker.h"

namespace ZYNE::Linux {

void AnswerBreaker::TakeAnswer() {
    misses_ = 0;
    pausedUntil_ = TimePoint::min();
}

bool AnswerBreaker::TakeMiss(TimePoint sent, TimePoint now) {
    if (sent < lastMiss_) {
        return false;
    }
    lastMiss_ = now;
    pausedUntil_ = now + pause_;
    return ++misses_ == MAX_MISSES;
}

}  // namespace ZYNE::Linux
