// What a client is told when the screen of a peer goes on or off.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::CollaborationFwk {

struct KeyMouseScreenStatus {
    virtual ~KeyMouseScreenStatus() = default;

    std::string networkId;
    int32_t screenStatus = 0;  // as the device manager reports it
};

}  // namespace ZYNE::CollaborationFwk
