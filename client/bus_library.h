// The bus library has version 1 on Debian 12 and version 2 on Debian 13. What differs between them has one name here;
// everything else that is used of it is the same in both.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include <sdbus-c++/sdbus-c++.h>

namespace ZYNE::Client {

// Plain texts in version 1, types of their own in version 2.
using BusName = decltype(std::declval<const sdbus::IConnection&>().getUniqueName());
using BusErrorName = std::remove_cvref_t<decltype(std::declval<const sdbus::Error&>().getName())>;

// What the answer to a call that nobody waits in begins with: holds an error, or is empty.
using AsyncError =
    std::conditional_t<std::is_same_v<BusName, std::string>, const sdbus::Error*, std::optional<sdbus::Error>>;

// Handles one thing that waits on `connection`; false when there was none.
bool ProcessPending(auto& connection) {
    if constexpr (requires { connection.processPendingEvent(); }) {
        return connection.processPendingEvent();
    } else {
        return connection.processPendingRequest();
    }
}

// When a loop that polls for `interest`, a connection's poll data, must handle the connection at the latest:
// microseconds of the monotonic clock, UINT64_MAX for never.
uint64_t PollDeadline(const auto& interest) {
    if constexpr (requires { interest.timeout_usec; }) {
        return interest.timeout_usec;
    } else {
        const std::chrono::microseconds deadline = interest.timeout;
        return deadline == std::chrono::microseconds::max() ? UINT64_MAX : static_cast<uint64_t>(deadline.count());
    }
}

// The connection that made the call which `object` is handling on this thread.
std::string CallingConnection(const auto& object) {
    const auto message = object.getCurrentlyProcessedMessage();
    if constexpr (std::is_pointer_v<decltype(message)>) {
        return message->getSender();
    } else {
        return message.getSender();
    }
}

}  // namespace ZYNE::Client
