// A peer that was seen in this run.
#pragma once

#include <cstdint>
#include <string>

namespace ZYNE::Host {

struct KnownPeer {
    std::string udid;
    std::string networkId;
    std::string name;
    uint32_t type;
    bool online;
    bool sameAccount;
};

}  // namespace ZYNE::Host
