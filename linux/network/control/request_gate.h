// Lets so many requests of one device be under way, has others wait, and refuses the rest.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>

#include "linux/base/mutex.h"
#include "linux/network/control/control_message.h"

namespace ZYNE::Linux {

// Any thread.
class RequestGate {
public:
    static constexpr size_t MAX_UNDER_WAY = 16;
    static constexpr size_t MAX_WAITING = 64;
    static constexpr size_t MAX_WAITING_BYTES = size_t{2} << 20U;

    enum class Place { UNDER_WAY, WAITING, REFUSED };

    // Of the device `networkId`. A request that waits is kept; one that is not is left as it is.
    Place Enter(const std::string& networkId, ControlMessage& request);

    // One that was under way has ended. The next, which is under way now.
    std::optional<ControlMessage> Leave(const std::string& networkId);

    // The device has gone.
    void Forget(const std::string& networkId);

private:
    struct Requests {
        size_t underWay = 0;
        size_t waitingBytes = 0;
        std::deque<ControlMessage> waiting;
    };

    Mutex mutex_;                                                  // a leaf
    std::map<std::string, Requests> requests_ GUARDED_BY(mutex_);  // by network id, none without requests
};

}  // namespace ZYNE::Linux
