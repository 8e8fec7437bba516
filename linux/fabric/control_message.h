// One message on the control channel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/host/service_info.h"

namespace ZYNE::Linux {

enum class ControlKind : uint8_t {
    REQUEST = 1,  // opens a session
    MESSAGE = 2   // comes back on one
};

struct ControlMessage {
    ControlKind kind = ControlKind::REQUEST;
    int32_t session = 0;  // as the device that made the request numbers it
    uint32_t type = 0;    // MESSAGE: the event type under which it is delivered
    std::string callerString;
    std::string sessionName;
    CollaborationFwk::ServiceInfo service;  // REQUEST
    std::string payload;                    // MESSAGE
};

// What one message may carry, in bytes.
inline constexpr size_t MOST_PAYLOAD_BYTES = size_t{8} << 20U;

}  // namespace ZYNE::Linux
