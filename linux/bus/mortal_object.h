// What is common to objects whose process can die: who is to be told, and whether it has died.
#pragma once

#include <deque>

#include "linux/base/mutex.h"
#include "linux/base/posted_task.h"
#include "platform/ipc/remote_object.h"

namespace ZYNE::Linux {

// Any thread.
class MortalObject : public IRemoteObject {
public:
    explicit MortalObject(Post post);

    bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override;
    bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) override;

    bool IsDead() const;

    // The process is gone: a posted task tells every recipient, one after the other. The second time does nothing and
    // returns false.
    bool Die();

protected:
    const Post post_;

private:
    void TellRecipients();
    sptr<DeathRecipient> TakeRecipient();

    mutable Mutex mutex_;
    std::deque<sptr<DeathRecipient>> recipients_ GUARDED_BY(mutex_);  // those not told yet, in their order
    bool dead_ GUARDED_BY(mutex_) = false;
};

}  // namespace ZYNE::Linux
