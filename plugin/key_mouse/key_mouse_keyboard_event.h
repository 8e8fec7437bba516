// What a client is told of a key. Code and action are those of the input manager.
#pragma once

#include <cstdint>

namespace ZYNE::CollaborationFwk {

struct KeyMouseKeyboardEvent {
    virtual ~KeyMouseKeyboardEvent() = default;

    int32_t keyCode = 0;
    int32_t keyAction = 0;
};

}  // namespace ZYNE::CollaborationFwk
