// Somebody who is told of changes of characteristics.
#pragma once

#include <memory>

#include "linux/base/mailbox.h"
#include "linux/base/mutex.h"
#include "linux/profile/change_queue.h"

namespace ZYNE::Linux {

// Any thread. Is told on threads of the pool, of one change at a time; one that blocks holds up no other.
class Subscription {
public:
    Subscription(ThreadPool& pool, ChangeQueue::Teller tell);
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    // Ends.
    ~Subscription() { End(); }

    // `step` follows on those added before of the same characteristic. Never tells inline.
    void Add(const ProfileStep& step);

    // Is told of nothing more, but for a call that runs.
    void End();
    // The same, and returns when a call that runs has returned. Not for the one who is told.
    void EndAndWait();

private:
    // Whoever is being told keeps what it takes to be told.
    struct Receiver {
        explicit Receiver(ChangeQueue::Teller toTell) : tell(std::move(toTell)) {}
        void TellAll();

        const ChangeQueue::Teller tell;
        Mutex mutex;
        ChangeQueue changes GUARDED_BY(mutex);
        bool hasEnded GUARDED_BY(mutex) = false;
    };
    struct Call {};  // tells of all that waits then

    const std::shared_ptr<Receiver> receiver_;
    const std::shared_ptr<Mailbox<Call>> calls_;
};

}  // namespace ZYNE::Linux
