// The shared data of one device as this process uses it: its rows, its observers, and the notices in both directions.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "linux/base/device_notes.h"
#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "linux/bus/bus_connection.h"
#include "linux/datashare/notice.h"
#include "linux/datashare/share_name.h"
#include "linux/datashare/share_observers.h"
#include "linux/datashare/share_place.h"
#include "linux/datashare/share_table.h"
#include "platform/datashare/data_share_helper.h"

namespace ZYNE::Linux {

// What a process brings along to use shared data; it outlives the use.
struct ShareHost {
    // How the process comes to a connection to the bus of a place; throws std::exception with one line.
    using Connect = std::function<std::shared_ptr<BusConnection>(const SharePlace& place)>;

    ThreadPool& pool;    // observers run on it
    DeviceNotes& notes;  // told of a database that is damaged and of a disk that is full
    Connect connect;
};

// Any thread, until Shut. While the device's bus is gone every operation answers SHARE_NOT_UP. When it is back, as
// after a restart of the device, observers are told again, and each is called once for what it may have missed. No lock
// is held while an observer is called.
class DeviceShares {
public:
    // Throws std::exception with one line when the database or the bus cannot be reached.
    DeviceShares(const SharePlace& place, const ShareHost& host);
    DeviceShares(const DeviceShares&) = delete;
    DeviceShares& operator=(const DeviceShares&) = delete;
    // Shuts.
    ~DeviceShares();

    // From now on every operation is refused, and no observer is called anew. Not in a handler of a connection.
    void Shut();

    // Whether the device is up.
    bool IsUp() { return GetConnection() != nullptr; }
    const SharePlace& GetPlace() const { return place_; }

    // The declared beginning that `path` lies under; empty when nobody provides it.
    std::string FindProvider(const std::string& path);

    // Each as in DataShareHelper. Whether the caller may use the share is not checked here.
    int32_t Insert(const std::string& share, const ShareTable::Row& row);
    int32_t Update(const std::string& share, const ShareTable::Conditions& conditions, const ShareTable::Row& values);
    int32_t Query(const std::string& share, const ShareTable::Conditions& conditions,
        const std::vector<std::string>& columns, std::vector<ShareTable::Row>& rows);
    int32_t Announce(const Notice& notice);

    int32_t ObserveNotices(
        const void* owner, const ShareName& name, bool descendants, const std::shared_ptr<DataShareObserver>& observer);
    void EndNotices(const void* owner);
    int32_t ObserveRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer);
    int32_t EndRows(const ShareName& name, const sptr<IDataAbilityObserver>& observer);

private:
    // Made anew when the bus is back.
    struct Connection;

    std::shared_ptr<Connection> GetConnection();
    bool Listens();
    void OnLost(uint64_t number);
    void StartReturning() REQUIRES(mutex_);
    void RunReturning();
    std::shared_ptr<Connection> Make(uint64_t number, bool listens);
    static void Tell(Connection& connection, const std::string& share, const ShareChange& change);

    const SharePlace place_;
    const ShareHost host_;
    ShareObservers observers_;

    Mutex mutex_;
    std::condition_variable wake_;                               // isClosed_ or isLost_ is set
    std::shared_ptr<Connection> connection_ GUARDED_BY(mutex_);  // null while there is none
    uint64_t number_ GUARDED_BY(mutex_) = 0;                     // of the connection
    bool isLost_ GUARDED_BY(mutex_) = false;                     // the connection is lost, and nobody restores it yet
    bool isClosed_ GUARDED_BY(mutex_) = false;
    std::thread returning_ GUARDED_BY(mutex_);  // makes the connection anew
};

}  // namespace ZYNE::Linux
