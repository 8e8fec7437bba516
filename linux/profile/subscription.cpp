#include "linux/profile/subscription.h"

#include <deque>
#include <optional>
#include <utility>

namespace ZYNE::Linux {
Subscription::Subscription(ThreadPool& pool, ChangeQueue::Teller tell)
    : receiver_(std::make_shared<Receiver>(std::move(tell))),
      calls_(Mailbox<Call>::Make(pool, [receiver = receiver_](Call) { receiver->TellAll(); },
          {.join = [](const std::deque<Call>& waiting, Call) {
              return !waiting.empty();
          }})) {}

void Subscription::Add(const ProfileStep& step) {
    {
        const MutexLock lock(receiver_->mutex);
        receiver_->changes.Add(step);
    }
    calls_->Post({});
}

void Subscription::End() {
    ChangeQueue dropped;
    {
        const MutexLock lock(receiver_->mutex);
        receiver_->hasEnded = true;
        std::swap(dropped, receiver_->changes);
    }
    calls_->Close();
}

void Subscription::EndAndWait() {
    End();
    calls_->CloseAndWait();
}

void Subscription::Receiver::TellAll() {
    for (;;) {
        std::optional<ChangeQueue::Change> change;
        {
            const MutexLock lock(mutex);
            change = hasEnded ? std::nullopt : changes.Take();
        }
        if (!change) {
            return;
        }
        ChangeQueue::Tell(*change, tell);
    }
}

}  // namespace ZYNE::Linux
