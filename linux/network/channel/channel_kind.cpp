#include "linux/network/channel/channel_kind.h"

namespace ZYNE::Linux {

std::optional<ChannelKind> ParseChannelKind(std::string_view text) {
    if (text == "reliable") {
        return ChannelKind::RELIABLE;
    }
    if (text == "bulk") {
        return ChannelKind::BULK;
    }
    if (text == "latest") {
        return ChannelKind::LATEST;
    }
    return std::nullopt;
}

std::optional<ChannelKind> ChannelKindOf(uint32_t number) {
    const auto kind = static_cast<ChannelKind>(number);
    switch (number) {
    case static_cast<uint32_t>(ChannelKind::RELIABLE):
    case static_cast<uint32_t>(ChannelKind::BULK):
    case static_cast<uint32_t>(ChannelKind::LATEST):
        return kind;
    default:
        return std::nullopt;
    }
}

}  // namespace ZYNE::Linux
