// What a client is told when the crossing switch of a peer changes.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::CollaborationFwk {

struct KeyMouseSwitchState {
    virtual ~KeyMouseSwitchState() = default;

    std::string deviceId;      // the peer's network id
    int32_t switchStatus = 0;  // 1 on, 0 off
};

}  // namespace ZYNE::CollaborationFwk
