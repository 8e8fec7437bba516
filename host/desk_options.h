// How the pointer crosses to the displays of peers, as the configuration has it.
#pragma once

#include <cstdint>
#include <vector>

namespace ZYNE::Host {

struct DeskOptions {
    int32_t push = 0;               // pixels that the pointer is pushed on at an edge before it crosses
    int32_t corner = 0;             // pixels from each corner that never cross
    std::vector<int32_t> modifier;  // key codes, one of which must be held; empty for none
    bool drags = false;             // whether it crosses with a button down
    std::vector<int32_t> homeKeys;  // key codes that, held together, bring it home
    bool clipboard = true;          // whether what is copied crosses
};

}  // namespace ZYNE::Host
