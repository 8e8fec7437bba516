// Who is to be told of a death, in the order in which they asked.
#pragma once

#include <deque>

#include "platform/ipc/remote_object.h"

namespace ZYNE::Linux {

// Not thread-safe: whoever has it locks. What is handed out should be let go of without that lock, since it may be the
// last reference.
class DeathRecipients {
public:
    using Recipient = sptr<IRemoteObject::DeathRecipient>;

    void Add(const Recipient& recipient) { recipients_.push_back(recipient); }
    // The recipient if it was there, else null.
    Recipient Remove(const Recipient& recipient);
    // The one that asked first; null when nobody is left.
    Recipient TakeFirst();
    bool Empty() const { return recipients_.empty(); }

private:
    std::deque<Recipient> recipients_;
};

}  // namespace ZYNE::Linux
