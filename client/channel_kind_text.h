// How the bus names the kinds of channels.
#pragma once

#include <string>

#include "client/channels.h"

namespace ZYNE::Client {

inline std::string TextOf(ChannelKind kind) {
    switch (kind) {
    case ChannelKind::BULK:
        return "bulk";
    case ChannelKind::LATEST:
        return "latest";
    default:
        return "reliable";
    }
}

}  // namespace ZYNE::Client
