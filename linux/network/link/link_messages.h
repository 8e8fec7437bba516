// The messages of a link's own stream, made and read.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "linux/network/link/device_facts.h"
#include "linux/network/link/link.pb.h"
#include "linux/network/link/links.h"

namespace ZYNE::Linux {

Wire::Facts ToWire(const DeviceFacts& facts);
// Names are shown on terminals: what is not printable is replaced. Nothing when a text is too long.
std::optional<DeviceFacts> FromWire(const Wire::Facts& facts);

Wire::Refusal::Kind ToWire(LinkRefusal refusal);
LinkRefusal FromWire(Wire::Refusal::Kind kind);

// Nothing when it is no message of the stream.
std::optional<Wire::LinkMessage> ParseLinkMessage(std::string_view bytes);

}  // namespace ZYNE::Linux
