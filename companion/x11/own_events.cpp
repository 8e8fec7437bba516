#include "companion/x11/own_events.h"

#include <algorithm>

#include "linux/desktop/x_link.h"

namespace ZYNE::Companion {
namespace {

// Injections that no event has followed; the server answers none while it hangs.
constexpr size_t MAX_WAITING = 10'000;

}  // namespace

void OwnEvents::Add(uint32_t sequence, const Event& event) {
    std::deque<Own>& queue = QueueOf(event.kind);
    if (queue.size() == MAX_WAITING) {
        queue.pop_front();
    }
    queue.push_back({sequence, event});
}

void OwnEvents::Drop(uint32_t sequence) {
    const auto has = [sequence](const Own& own) {
        return own.sequence == sequence;
    };
    std::erase_if(keys_, has);
    std::erase_if(pointer_, has);
}

bool OwnEvents::Take(uint32_t sequence, const Event& event) {
    std::deque<Own>& queue = QueueOf(event.kind);
    const auto found = std::ranges::find_if(
        queue, [&](const Own& own) { return own.event == event && !Linux::IsBefore(sequence, own.sequence); });
    if (found == queue.end()) {
        return false;
    }
    queue.erase(queue.begin(), found + 1);
    return true;
}

bool OwnEvents::Expects(Kind kind, uint32_t code) const {
    return std::ranges::any_of(
        QueueOf(kind), [&](const Own& own) { return own.event.kind == kind && own.event.code == code; });
}

}  // namespace ZYNE::Companion
