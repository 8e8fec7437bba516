// The port's own result codes on the way to other devices. 0 is success.
#pragma once

#include <cstdint>

namespace ZYNE::Linux {

enum FabricCode : int32_t {
    FABRIC_OK = 0,
    FABRIC_NOT_RUNNING = 1,      // not started yet, or stopped
    FABRIC_PEER_OFFLINE = 2,     // no trusted device of that network id is online
    FABRIC_PEER_STALLED = 3,     // the device does not take messages
    FABRIC_SESSION_UNKNOWN = 4,  // the session is over, or never was
    FABRIC_TOO_LARGE = 5,        // a text or payload is beyond what a message may carry
    FABRIC_INVALID_ARGUMENT = 6,
    FABRIC_TRANSPORT_FAILED = 7,  // the log says more
    FABRIC_NOT_KNOWN = 8          // nobody announced what was asked for
};

}  // namespace ZYNE::Linux
