// What travels with a request on the control channel.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::CollaborationFwk {

struct ServiceInfo {
    int32_t serviceType = 0;
    int32_t serviceVersion = 0;
    int32_t serviceFlags = 0;
    int32_t businessType = 0;        // 3 for info collection
    int32_t priority = 0;            // 1 for info collection
    std::string collaborationIdStr;  // eleven digits, "-", the caller's string
    std::string commandProp;         // the request text
};

}  // namespace ZYNE::CollaborationFwk
