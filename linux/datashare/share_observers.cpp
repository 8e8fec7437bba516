#include "linux/datashare/share_observers.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <utility>

#include "linux/base/log_domains.h"
#include "linux/base/mailbox.h"
#include "linux/datashare/share_limits.h"
#include "platform/log/log_print.h"

namespace ZYNE::Linux {
namespace {

constexpr LogDomain LOG = LogDomains::DATA_SHARE;

using NoticePtr = std::shared_ptr<const Notice>;

// Ends the entries that `leaves` picks and takes them out of `entries`. The caller destroys them without the lock, as
// that may end an observer.
template <typename Entry, typename Leaves>
std::vector<std::shared_ptr<Entry>> TakeOut(std::vector<std::shared_ptr<Entry>>& entries, const Leaves& leaves) {
    const auto first = std::stable_partition(
        entries.begin(), entries.end(), [&](const std::shared_ptr<Entry>& entry) { return !leaves(*entry); });
    std::vector<std::shared_ptr<Entry>> taken(std::make_move_iterator(first), std::make_move_iterator(entries.end()));
    entries.erase(first, entries.end());
    for (const std::shared_ptr<Entry>& entry : taken) {
        entry->mailbox->Close();
    }
    return taken;
}

}  // namespace

struct ShareObservers::NoticeEntry {
    ThreadPool& pool;
    const void* const owner;
    const ShareName name;
    const bool descendants;
    const std::shared_ptr<DataShareObserver> observer;
    const std::shared_ptr<Mailbox<NoticePtr>> mailbox = Mailbox<NoticePtr>::Make(pool,
        [told = observer](const NoticePtr& notice) { told->OnChange(notice->GetInfo()); },
        {ShareLimits::WAITING_NOTICES, [](const NoticePtr& notice) {
             return notice->GetSize();
         }});

    bool IsMeant(const Notice& notice) const {
        return std::any_of(notice.uris.begin(), notice.uris.end(), [this](const std::string& uri) {
            const std::optional<ShareName> told = ParseShareName(uri);
            return told && (descendants ? IsAtOrBelow(told->path, name.path) : told->path == name.path);
        });
    }

    void Post(const NoticePtr& notice) const {
        if (!mailbox->Post(notice)) {
            LogPrint(LogType::CORE, LogLevel::ERROR, LOG, "an observer is not told of a change: too much waits for it");
        }
    }
};

struct ShareObservers::RowEntry {
    struct Call {};

    ThreadPool& pool;
    const ShareName name;
    const sptr<IDataAbilityObserver> observer;
    // A call that has not begun yet will tell of this change as well.
    const std::shared_ptr<Mailbox<Call>> mailbox = Mailbox<Call>::Make(
        pool, [told = observer](Call) { told->OnChange(); }, {.join = [](const std::deque<Call>& waiting, Call) {
            return !waiting.empty();
        }});

    bool IsMeant(const RowsChanged& change) const {
        return IsAtOrBelow(change.share, name.path) &&
            (name.key.empty() || std::find(change.keys.begin(), change.keys.end(), name.key) != change.keys.end());
    }
};

ShareObservers::ShareObservers(ThreadPool& pool) : pool_(pool) {}

ShareObservers::~ShareObservers() = default;

void ShareObservers::AddForNotices(
    const void* owner, const ShareName& name, bool descendants, std::shared_ptr<DataShareObserver> observer) {
    auto entry = std::shared_ptr<NoticeEntry>(new NoticeEntry{pool_, owner, name, descendants, std::move(observer)});
    const MutexLock lock(mutex_);
    forNotices_.push_back(std::move(entry));
}

void ShareObservers::RemoveForNotices(const void* owner) {
    std::vector<std::shared_ptr<NoticeEntry>> removed;
    const MutexLock lock(mutex_);
    removed = TakeOut(forNotices_, [owner](const NoticeEntry& entry) { return entry.owner == owner; });
}

void ShareObservers::AddForRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer) {
    auto entry = std::shared_ptr<RowEntry>(new RowEntry{pool_, name, observer});
    const MutexLock lock(mutex_);
    const bool known = std::any_of(forRows_.begin(), forRows_.end(),
        [&](const std::shared_ptr<RowEntry>& other) { return other->name == name && other->observer == observer; });
    if (!known) {
        forRows_.push_back(std::move(entry));
    }
}

bool ShareObservers::RemoveForRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer) {
    std::vector<std::shared_ptr<RowEntry>> removed;
    const MutexLock lock(mutex_);
    removed =
        TakeOut(forRows_, [&](const RowEntry& entry) { return entry.name == name && entry.observer == observer; });
    return !removed.empty();
}

void ShareObservers::Clear() {
    std::vector<std::shared_ptr<NoticeEntry>> notices;
    std::vector<std::shared_ptr<RowEntry>> rows;
    const MutexLock lock(mutex_);
    notices = TakeOut(forNotices_, [](const NoticeEntry&) { return true; });
    rows = TakeOut(forRows_, [](const RowEntry&) { return true; });
}

std::vector<std::shared_ptr<ShareObservers::RowEntry>> ShareObservers::ForRows() {
    const MutexLock lock(mutex_);
    return forRows_;
}

std::vector<std::shared_ptr<ShareObservers::NoticeEntry>> ShareObservers::ForNotices() {
    const MutexLock lock(mutex_);
    return forNotices_;
}

void ShareObservers::Tell(const RowsChanged& change) {
    for (const std::shared_ptr<RowEntry>& entry : ForRows()) {
        if (entry->IsMeant(change)) {
            entry->mailbox->Post({});
        }
    }
}

void ShareObservers::Tell(Notice notice) {
    const auto shared = std::make_shared<const Notice>(std::move(notice));
    for (const std::shared_ptr<NoticeEntry>& entry : ForNotices()) {
        if (entry->IsMeant(*shared)) {
            entry->Post(shared);
        }
    }
}

void ShareObservers::TellAll() {
    for (const std::shared_ptr<RowEntry>& entry : ForRows()) {
        entry->mailbox->Post({});
    }
    for (const std::shared_ptr<NoticeEntry>& entry : ForNotices()) {
        Notice notice;
        notice.type = DataShareObserver::ChangeType::UPDATE;
        notice.uris = {entry->name.path};
        entry->Post(std::make_shared<const Notice>(std::move(notice)));
    }
}

}  // namespace ZYNE::Linux
