// The shared data of one device as this process uses it: its rows, its observers, and the notices that go to and fro.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linux/datashare/notice_bus.h"
#include "linux/datashare/share_name.h"
#include "linux/datashare/share_observers.h"
#include "linux/datashare/share_place.h"
#include "linux/datashare/share_providers.h"
#include "linux/datashare/share_table.h"
#include "platform/datashare/data_share_helper.h"

namespace ZYNE::Linux {

// Any thread. It is up until Close, or until the device's bus is gone; then every operation answers SHARE_NOT_UP.
// No lock is held while an observer is called.
class DeviceShares {
public:
    // The process's one for `place`; another one when that is no longer up. Throws std::exception with one line when
    // the database or the bus cannot be reached.
    static std::shared_ptr<DeviceShares> Open(const SharePlace& place);

    // Ends the use of `place` in this process. Not on a thread of NoticeBus.
    static void Close(const SharePlace& place);

    explicit DeviceShares(const SharePlace& place);
    DeviceShares(const DeviceShares&) = delete;
    DeviceShares& operator=(const DeviceShares&) = delete;

    const ShareProviders& GetProviders() const { return providers_; }

    // Each as DataShareHelper says. Whether the caller may use the share is not asked here.
    int32_t Insert(const std::string& share, const ShareTable::Row& row);
    int32_t Update(const std::string& share, const ShareTable::Conditions& conditions, const ShareTable::Row& values);
    int32_t Query(
        const std::string& share, const ShareTable::Conditions& conditions, std::vector<ShareTable::Row>& rows);
    int32_t Announce(const Notice& notice);

    int32_t ObserveNotices(
        const void* owner, const ShareName& name, bool descendants, const std::shared_ptr<DataShareObserver>& observer);
    void EndNotices(const void* owner);
    int32_t ObserveRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer);
    int32_t EndRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer);

private:
    std::shared_ptr<ShareTable> GetTable();
    bool IsOpen();
    void Shut();
    int32_t Tell(const std::string& share, ShareChange change);

    const SharePlace place_;
    std::mutex mutex_;
    std::shared_ptr<ShareTable> table_;  // guarded by mutex_; null once it is no longer up
    const ShareProviders providers_;
    ShareObservers observers_;
    NoticeBus notices_;  // the last to be built: its thread uses the others
};

}  // namespace ZYNE::Linux
