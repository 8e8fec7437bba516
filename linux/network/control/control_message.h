// One message on the control channel, and how it travels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host/service_info.h"

namespace ZYNE::Linux {

enum class ControlKind : uint8_t {
    REQUEST,  // opens a session
    ANSWER,   // comes back on one
    BUSY      // instead of an answer: the device serves as many of our requests as it may
};

struct ControlMessage {
    ControlKind kind = ControlKind::REQUEST;
    int32_t session = 0;  // as the device that made the request numbers it
    uint32_t type = 0;    // ANSWER: the event type under which it is delivered
    std::string callerString;
    std::string sessionName;
    CollaborationFwk::ServiceInfo service;  // REQUEST
    std::string payload;                    // ANSWER
};

// What one message may carry, in bytes. A request is text that is parsed whole; it names no more than a thousand items.
// Of answers the library takes 4 MiB, and says so of more.
inline constexpr size_t MAX_REQUEST_BYTES = size_t{1} << 20U;
inline constexpr size_t MAX_ANSWER_BYTES = size_t{5} << 20U;

// The bytes of a message; nothing when a text is beyond its bound or has a zero byte where that has no place.
std::optional<std::string> WriteControlMessage(const ControlMessage& message);

// Nothing when it is no message, or one beyond its bounds.
std::optional<ControlMessage> ReadControlMessage(std::string_view bytes);

}  // namespace ZYNE::Linux
