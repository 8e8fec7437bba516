// One dynamic info item that a system ability serves.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::CollaborationFwk {

struct DynamicInfoMapBySa {
    std::string infoName;
    int32_t saId = 0;
    int32_t cmdCodeId = 0;
    std::u16string saDescriptor;  // interface token of the system ability
};

}  // namespace ZYNE::CollaborationFwk
