// The part of a device's interface that asks peers for info.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <sdbus-c++/Types.h>

#include "host/known_peer.h"

namespace ZYNE::Host {

struct InfoAnswer {
    using Record = sdbus::Struct<std::string, std::string>;  // name, value

    int32_t code;
    std::vector<Record> records;  // in the order asked
};

// As GetInfo in device_api.xml. Blocks for at most five seconds after the request was sent. Throws ApiError.
InfoAnswer AskPeer(const KnownPeer& peer, const std::vector<std::string>& names);

}  // namespace ZYNE::Host
