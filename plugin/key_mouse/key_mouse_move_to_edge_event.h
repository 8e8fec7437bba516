// What a client is told when the pointer arrives at the edge of a display.
#pragma once

#include <cstdint>

namespace ZYNE::CollaborationFwk {

struct KeyMouseMoveToEdgeEvent {
    virtual ~KeyMouseMoveToEdgeEvent() = default;

    int32_t screenId = 0;
    int32_t screenX = 0;  // pixels from the display's upper left corner
    int32_t screenY = 0;
    int32_t rawDeltaX = 0;  // how far the device itself moved, also beyond the edge
    int32_t rawDeltaY = 0;
    int32_t deviceId = 0;  // the input device
    bool isPressedButtons = false;
};

}  // namespace ZYNE::CollaborationFwk
