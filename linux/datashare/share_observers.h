// Who in this process is to be told of changes in shared data.
//
// Each observer is called on threads of the pool, one call at a time, in the order in which the changes arrived. An
// observer that blocks holds up no other. An exception that leaves an observer is logged.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "linux/datashare/notice.h"
#include "linux/datashare/share_name.h"
#include "platform/datashare/data_ability_observer.h"

namespace ZYNE::Linux {

// Any thread. No operation calls an observer or waits for one.
class ShareObservers {
public:
    explicit ShareObservers(ThreadPool& pool);
    ShareObservers(const ShareObservers&) = delete;
    ShareObservers& operator=(const ShareObservers&) = delete;
    ~ShareObservers();

    // Tells `observer` of notices for the path of `name`, and with `descendants` of those below it. `owner` can remove
    // all that it has added.
    void AddForNotices(
        const void* owner, const ShareName& name, bool descendants, std::shared_ptr<DataShareObserver> observer);
    void RemoveForNotices(const void* owner);

    // Tells `observer` of rows that change at or below the path of `name`; if there is a key, only of the row
    // `name.key`. Changes that come before a call has begun are told with that call. Adding the same twice changes
    // nothing.
    void AddForRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer);
    // False when it is not there.
    bool RemoveForRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer);

    // After this no new call starts.
    void Clear();

    // Tells what has arrived. An observer is told of a notice once, however many of its URIs concern it.
    void Tell(const RowsChanged& change);
    void Tell(Notice notice);

    // Calls each observer once, for what it may have missed: those of notices with their own URI and no data.
    void TellAll();

private:
    struct NoticeEntry;
    struct RowEntry;

    // Those there are now.
    std::vector<std::shared_ptr<NoticeEntry>> ForNotices();
    std::vector<std::shared_ptr<RowEntry>> ForRows();

    ThreadPool& pool_;
    Mutex mutex_;
    std::vector<std::shared_ptr<NoticeEntry>> forNotices_ GUARDED_BY(mutex_);
    std::vector<std::shared_ptr<RowEntry>> forRows_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
