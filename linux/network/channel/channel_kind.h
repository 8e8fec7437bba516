// How a channel treats its messages.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "linux/network/link/stream.h"

namespace ZYNE::Linux {

// The numbers are those of the wire.
enum class ChannelKind : uint8_t {
    RELIABLE = 1,  // every message arrives, in order
    BULK = 2,      // likewise, but everything else on the link goes first
    LATEST = 3     // what is lost or late is not waited for
};

// What two apps have to name alike to meet.
struct ChannelName {
    std::string app;
    std::string name;
    ChannelKind kind = ChannelKind::RELIABLE;

    bool operator==(const ChannelName&) const = default;
};

// Of one message.
inline constexpr size_t MAX_MESSAGE_BYTES = size_t{64} << 10U;
// Of the name of an app, and of a channel's.
inline constexpr size_t MAX_NAME_BYTES = 255;

// "reliable", "bulk", "latest".
std::optional<ChannelKind> ParseChannelKind(std::string_view text);
std::optional<ChannelKind> ChannelKindOf(uint32_t number);

constexpr Stream StreamOf(ChannelKind kind) {
    return kind == ChannelKind::BULK ? Stream::BULK : Stream::CHANNEL;
}

}  // namespace ZYNE::Linux
