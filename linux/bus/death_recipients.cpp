#include "linux/bus/death_recipients.h"

#include <algorithm>
#include <utility>

namespace ZYNE::Linux {

DeathRecipients::Recipient DeathRecipients::Remove(const Recipient& recipient) {
    const auto found = std::find(recipients_.begin(), recipients_.end(), recipient);
    if (found == recipients_.end()) {
        return nullptr;
    }
    Recipient removed = std::move(*found);
    recipients_.erase(found);
    return removed;
}

DeathRecipients::Recipient DeathRecipients::TakeFirst() {
    if (recipients_.empty()) {
        return nullptr;
    }
    Recipient first = std::move(recipients_.front());
    recipients_.pop_front();
    return first;
}

}  // namespace ZYNE::Linux
