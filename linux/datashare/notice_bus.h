// Carries notices of shared data between the processes of a device: D-Bus signals on the device's bus.
//
// A signal comes from the object /com/zyne/DataShare with the interface com.zyne.DataShare; its one argument is a
// parcel as linux/bus/bus_wire.h puts it into a message, large ones in a memory file:
//
//     RowsChanged   the share, the KEYWORDs of the rows
//     Notice        the change type, the URIs, the data if any, the value buckets
//
// What a process sends comes back to it like to every other. What one process sends arrives in the order in which it
// was sent.
#pragma once

#include <functional>
#include <string>

#include "linux/bus/signal_listener.h"
#include "linux/bus/signal_sender.h"
#include "linux/datashare/notice.h"

namespace ZYNE::Linux {

// Any thread. Sending and listening have a connection each.
class NoticeBus {
public:
    // Called on the listening thread, one at a time, until Stop returns.
    struct Callbacks {
        std::function<void(RowsChanged change)> rowsChanged;
        std::function<void(Notice notice)> notice;
        std::function<void()> lost;  // the bus is gone: the last call
    };

    NoticeBus(const std::string& address, const Callbacks& callbacks);

    // Whether the bus is still there.
    bool IsUp() { return sender_.IsUp(); }

    // Has the callbacks called of all that is sent by anyone after this returns. The second time does nothing. False
    // when the bus cannot be reached.
    bool Listen();

    // Returns when the bus has taken the message. False, with a log line, when it has not.
    bool Send(const RowsChanged& change);
    bool Send(const Notice& notice);

    // Ends the thread. Nothing is sent after this. Not in a callback.
    void Stop();

private:
    bool Send(const char* member, const MessageParcel& parcel);

    SignalSender sender_;
    SignalListener listener_;
};

}  // namespace ZYNE::Linux
