#include "linux/network/network_notes.h"

#include <algorithm>
#include <utility>

#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {

void NetworkNotes::Add(const std::string& kind, const std::string& text) {
    const auto now = now_();
    bool isToBeLogged = false;
    {
        const MutexLock lock(mutex_);
        const auto known = std::ranges::find_if(
            notes_, [&](const Kept& kept) { return kept.note.kind == kind && kept.note.text == text; });
        const bool isDue = known == notes_.end() || now - known->logged >= LASTS;
        isToBeLogged = isDue && MayLog(now);
        const Clock::time_point logged = isToBeLogged ? now
            : known == notes_.end()                   ? Clock::time_point{}
                                                      : known->logged;
        if (known != notes_.end()) {
            notes_.erase(known);
        }
        notes_.push_front({{kind, text}, now, logged});
        if (notes_.size() > MAX_NOTES) {
            notes_.pop_back();
        }
    }
    if (isToBeLogged) {
        FabricPrint(LogLevel::WARN, "%{public}s: %{public}s", kind, text);
    }
}

bool NetworkNotes::MayLog(Clock::time_point now) {
    if (now - minute_ >= LASTS) {
        if (const size_t suppressed = std::exchange(suppressed_, 0); suppressed > 0) {
            FabricPrint(LogLevel::WARN, "%{public}zu more suppressed", suppressed);
        }
        minute_ = now;
        logged_ = 0;
    }
    if (logged_ >= MAX_NOTES) {
        ++suppressed_;
        return false;
    }
    ++logged_;
    return true;
}

std::vector<NetworkNotes::Note> NetworkNotes::Recent() {
    const auto now = now_();
    std::vector<Note> recent;
    const MutexLock lock(mutex_);
    for (const Kept& kept : notes_) {
        if (now - kept.at < LASTS) {
            recent.push_back(kept.note);
        }
    }
    return recent;
}

}  // namespace ZYNE::Linux
