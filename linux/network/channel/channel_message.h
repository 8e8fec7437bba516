// The messages of the streams CHANNEL and BULK: parts of the apps' messages, and control between them.
//
// The first byte is the type. Control is a ChannelControl. A part goes on with the receiver's number of the channel in
// four bytes, the greatest first, and with the bytes themselves; an end has none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "linux/network/channel/channel.pb.h"
#include "linux/network/channel/channel_kind.h"
#include "linux/network/link/link.h"

namespace ZYNE::Linux {

struct ChannelPart {
    enum class Type : uint8_t {
        MORE = 1,  // others of the same message follow
        LAST = 2,
        END = 3  // the channel: no message follows
    };
    Type type = Type::END;
    uint32_t channel = 0;  // the receiver's number
    std::string_view bytes;
};

bool IsChannelControl(std::string_view message);

// Nothing when it is none, or says what cannot be.
std::optional<Wire::ChannelControl> ReadChannelControl(std::string_view message);
std::string WriteChannelControl(const Wire::ChannelControl& control);

// Nothing when it is none. The bytes lie in `message`.
std::optional<ChannelPart> ReadChannelPart(std::string_view message);

// Sends `bytes`, one message of a channel, in parts that keep their order on the stream. False when the link takes
// them no longer.
bool SendInParts(const Link& link, Stream stream, uint32_t channel, std::string_view bytes);
// Tells of the channel's end, after all that was sent on the stream before.
void SendChannelEnd(const Link& link, Stream stream, uint32_t channel);

// `number` in eight bytes, the greatest first, and back from the first eight of `bytes`.
void AppendNumber(std::string& bytes, uint64_t number);
uint64_t LeadingNumber(std::string_view bytes);

}  // namespace ZYNE::Linux
