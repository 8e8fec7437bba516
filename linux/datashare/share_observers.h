// Who in this process is to be told of changes of shared data.
//
// Each observer is called on threads of the pool, one call at a time, in the order in which the changes arrived; one
// that blocks holds up no other. An exception that leaves an observer is logged.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

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

    // Tells `observer` of notices for the path of `name`, with `descendants` also below it. `owner` ends all that it
    // has added.
    void AddForNotices(
        const void* owner, const ShareName& name, bool descendants, std::shared_ptr<DataShareObserver> observer);
    void RemoveForNotices(const void* owner);

    // Tells `observer` of rows that change at or below the path of `name`, of the row `name.key` alone where there is a
    // key. Changes that come while it has not been told of an earlier one are told with that. Adding again what is
    // there changes nothing.
    void AddForRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer);
    // False when it is not there.
    bool RemoveForRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer);

    // From now on nobody is called anew.
    void Clear();

    // What has arrived. A notice is told once to an observer, however many of its URIs are the observer's.
    void Tell(const RowsChanged& change);
    void Tell(Notice notice);

    // Calls each once, for what it may have missed: those of notices with their own URI and no data.
    void TellAll();

private:
    struct NoticeEntry;
    struct RowEntry;

    ThreadPool& pool_;
    std::mutex mutex_;
    std::vector<std::shared_ptr<NoticeEntry>> forNotices_;  // guarded by mutex_
    std::vector<std::shared_ptr<RowEntry>> forRows_;        // guarded by mutex_
};

}  // namespace ZYNE::Linux
