// One bare call over a bus to the service that a device asks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "linux/bus/bus_handles.h"

namespace ZYNE::Bench {

class BusEnd {
public:
    // The bus at `address`; calls go to the service `busName`.
    BusEnd(const std::string& address, std::string busName);

    // Sends a request and blocks until it is answered.
    void Call(uint32_t code, const std::vector<uint8_t>& request);

private:
    Linux::BusHandle bus_;
    const std::string busName_;
};

}  // namespace ZYNE::Bench
