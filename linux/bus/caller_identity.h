// Which process is behind a connection on the bus.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "linux/base/mutex.h"
#include "linux/bus/bus_caller.h"
#include "platform/ipc/ipc_context.h"

namespace ZYNE::Linux {

// Asks the bus once about each connection. Any thread.
class CallerIdentity {
public:
    explicit CallerIdentity(BusCaller& caller) : caller_(caller) {}

    // False when the bus cannot tell, as for a connection that has left. The first question about a connection blocks
    // for a round trip.
    bool Find(const std::string& uniqueName, IPCContext& context);

    // Whether the process is the one that started the bus. Blocks as Find does.
    bool IsDevice(const std::string& uniqueName);

private:
    static constexpr size_t MAX_KNOWN = 1024;

    BusCaller& caller_;
    Mutex mutex_;
    std::map<std::string, IPCContext> known_ GUARDED_BY(mutex_);  // unique names are never given out again
};

}  // namespace ZYNE::Linux
