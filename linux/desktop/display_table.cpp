#include "linux/desktop/display_table.h"

#include <algorithm>

namespace ZYNE::Linux {
namespace {

// More displays and sizes than a device ever sees. Beyond this, a display that comes back counts as new.
constexpr size_t MAX_IDS = 1024;

}  // namespace

void DisplayTable::SetServer(const std::optional<std::vector<DisplayArea>>& displays) {
    const MutexLock lock(mutex_);
    server_ = displays ? std::optional(Number(*displays)) : std::nullopt;
}

void DisplayTable::SetScripted(const std::vector<DisplayArea>& displays) {
    const MutexLock lock(mutex_);
    scripted_ = Number(displays);
}

bool DisplayTable::HasServer() const {
    const MutexLock lock(mutex_);
    return server_.has_value();
}

DisplayTable::Entries DisplayTable::Number(const std::vector<DisplayArea>& displays) {
    if (ids_.size() > MAX_IDS) {
        ids_.clear();
    }
    Entries entries;
    for (const DisplayArea& area : displays) {
        entries.push_back({IdOf(area), area});
    }
    return entries;
}

int32_t DisplayTable::IdOf(const DisplayArea& area) {
    const auto [at, isNew] = ids_.try_emplace({area.name, area.width, area.height}, lastId_ + 1);
    lastId_ = std::max(lastId_, at->second);
    return at->second;
}

const DisplayTable::Entries& DisplayTable::Current() const {
    return server_ ? *server_ : scripted_;
}

sptr<Display> DisplayTable::Default() const {
    const MutexLock lock(mutex_);
    const Entries& entries = Current();
    if (entries.empty()) {
        return nullptr;
    }
    auto found = std::ranges::find_if(entries, [](const Entry& entry) { return entry.area.isPrimary; });
    if (found == entries.end()) {
        found = entries.begin();
    }
    return MakeDisplay(*found);
}

sptr<Display> DisplayTable::Find(uint64_t id) const {
    const MutexLock lock(mutex_);
    for (const Entry& entry : Current()) {
        if (static_cast<uint64_t>(entry.id) == id) {
            return MakeDisplay(entry);
        }
    }
    return nullptr;
}

sptr<Display> DisplayTable::MakeDisplay(const Entry& entry) {
    return sptr<Display>(new Display(static_cast<uint64_t>(entry.id), entry.area.width, entry.area.height));
}

DisplayPlace DisplayTable::Locate(DesktopPoint point) const {
    const MutexLock lock(mutex_);
    for (const Entry& entry : Current()) {
        if (entry.area.Contains(point)) {
            return {entry.id, point.x - entry.area.x, point.y - entry.area.y};
        }
    }
    return {-1, point.x, point.y};
}

DesktopPoint DisplayTable::Confine(DesktopPoint from, DesktopPoint to) const {
    const MutexLock lock(mutex_);
    const Entries& entries = Current();
    const auto on = [&](DesktopPoint point) {
        return std::ranges::find_if(entries, [&](const Entry& entry) { return entry.area.Contains(point); });
    };
    if (on(to) != entries.end()) {
        return to;
    }
    const auto left = on(from) != entries.end() ? on(from) : entries.begin();
    if (left == entries.end()) {
        return from;
    }
    const DisplayArea& area = left->area;
    return {std::clamp(to.x, area.x, area.x + area.width - 1), std::clamp(to.y, area.y, area.y + area.height - 1)};
}

}  // namespace ZYNE::Linux
