// Carries notices of shared data between the processes of a device: D-Bus signals on the device's bus.
//
// A signal comes from the object /com/zyne/DataShare with the interface com.zyne.DataShare; its one argument is a
// parcel as linux/bus/bus_wire.h puts it into a message, large ones in a memory file:
//
//     RowsChanged   the share, the KEYWORDs of the rows
//     Notice        the change type, the URIs, the data if any, the value buckets
//
// A process also hears what it sends itself. What one process sends arrives in the order in which it was sent.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "linux/bus/bus_connection.h"
#include "linux/datashare/notice.h"

namespace ZYNE::Linux {

// Any thread.
class NoticeBus {
public:
    // Called as handlers of the connection, one at a time, until Stop returns.
    struct Callbacks {
        std::function<void(RowsChanged change)> rowsChanged;
        std::function<void(Notice notice)> notice;
        std::function<void()> lost;  // the bus is gone: the last call
    };

    NoticeBus(std::shared_ptr<BusConnection> connection, Callbacks callbacks);

    // Whether the bus is still there.
    bool IsUp() { return connection_->IsUp(); }

    // Calls the callbacks for all that anyone sends after this has returned. The second time does nothing. False when
    // the bus cannot be reached.
    bool Listen();

    // Returns when the bus has taken the message. False, with a log line, when it has not.
    bool Send(const RowsChanged& change);
    bool Send(const Notice& notice);

    // Nothing is sent or heard after this. Not in a callback.
    void Stop();

private:
    bool Send(const char* member, const MessageParcel& parcel);

    const std::shared_ptr<BusConnection> connection_;
    const Callbacks callbacks_;
    std::atomic<bool> isStopped_ = false;
    Mutex mutex_;
    std::vector<BusSlot> listening_ GUARDED_BY(mutex_);  // empty before Listen
};

}  // namespace ZYNE::Linux
