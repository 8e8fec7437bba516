#include "linux/network/control/session_table.h"

#include <algorithm>
#include <limits>
#include <random>
#include <utility>

namespace ZYNE::Linux {
namespace {

constexpr uint32_t MAX_NUMBER = std::numeric_limits<int32_t>::max();

// Moves the sessions that `matches` out of `sessions`.
template <typename Session, typename Matches>
std::vector<Session> TakeIf(std::map<int32_t, Session>& sessions, Matches matches) {
    std::vector<Session> taken;
    for (auto at = sessions.begin(); at != sessions.end();) {
        if (matches(at->second)) {
            taken.push_back(std::move(at->second));
            at = sessions.erase(at);
        } else {
            ++at;
        }
    }
    return taken;
}

}  // namespace

// Answers that were meant for an earlier run of this device do not hit a session of this one but by chance.
SessionTable::SessionTable(std::function<Clock::time_point()> now)
    : now_(std::move(now)), lastNumber_(std::random_device()()) {}

int32_t SessionTable::NewNumber() {
    int32_t number = 0;
    do {
        number = static_cast<int32_t>(++lastNumber_ & MAX_NUMBER);
    } while (number == 0 || opened_.contains(number) || served_.contains(number));
    return number;
}

int32_t SessionTable::Open(const std::string& networkId, const std::string& collaborationId) {
    const MutexLock lock(mutex_);
    if (opened_.size() >= MAX_OPENED) {
        opened_.erase(std::ranges::min_element(opened_, {}, [](const auto& entry) { return entry.second.since; }));
    }
    const int32_t number = NewNumber();
    opened_.emplace(number, Opened{networkId, collaborationId, now_()});
    return number;
}

int32_t SessionTable::Serve(const std::string& networkId, int32_t openersNumber, Commands commands) {
    const MutexLock lock(mutex_);
    const int32_t number = NewNumber();
    served_.emplace(number, Served{networkId, openersNumber, std::move(commands), now_()});
    return number;
}

std::optional<SessionTable::Opened> SessionTable::TakeOpened(int32_t number, const std::string& networkId) {
    const MutexLock lock(mutex_);
    const auto session = opened_.find(number);
    if (session == opened_.end() || session->second.networkId != networkId) {
        return std::nullopt;
    }
    return std::move(opened_.extract(session).mapped());
}

std::optional<std::pair<std::string, int32_t>> SessionTable::FindServed(int32_t number) const {
    const MutexLock lock(mutex_);
    const auto session = served_.find(number);
    if (session == served_.end()) {
        return std::nullopt;
    }
    return std::pair(session->second.networkId, session->second.openersNumber);
}

bool SessionTable::End(int32_t number) {
    std::map<int32_t, Served>::node_type ended;
    const MutexLock lock(mutex_);
    opened_.erase(number);
    ended = served_.extract(number);
    return !ended.empty();
}

std::vector<std::string> SessionTable::EndAllWith(const std::string& networkId) {
    const auto isWithIt = [&](const auto& session) {
        return session.networkId == networkId;
    };
    std::vector<Served> ended;
    std::vector<std::string> ids;
    const MutexLock lock(mutex_);
    ended = TakeIf(served_, isWithIt);
    for (Opened& session : TakeIf(opened_, isWithIt)) {
        ids.push_back(std::move(session.collaborationId));
    }
    return ids;
}

std::vector<std::string> SessionTable::EndOld() {
    const Clock::time_point eldest = now_() - MAX_AGE;
    const auto isOld = [&](const auto& session) {
        return session.since < eldest;
    };
    std::vector<Served> ended;
    std::vector<std::string> networkIds;
    const MutexLock lock(mutex_);
    ended = TakeIf(served_, isOld);
    TakeIf(opened_, isOld);
    networkIds.reserve(ended.size());
    for (Served& session : ended) {
        networkIds.push_back(std::move(session.networkId));
    }
    return networkIds;
}

}  // namespace ZYNE::Linux
