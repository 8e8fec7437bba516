// What a device tells the others about itself.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::Linux {

struct DeviceFacts {
    std::string name;  // at most 64 bytes
    uint32_t type = 0;
    int32_t osType = 0;
    int32_t screenStatus = -1;

    bool operator==(const DeviceFacts&) const = default;
};

}  // namespace ZYNE::Linux
