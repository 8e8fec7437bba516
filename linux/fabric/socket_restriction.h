// Keeps the transport's sockets to one network interface.
#pragma once

#include <cstdint>

#include "linux/fabric/network_interface.h"

namespace ZYNE::Linux {

// The DDS library binds the sockets it receives with to all addresses of the machine, and lets child processes inherit
// them. This gives those of `domain`, which must have been made, a filter in the kernel that drops whatever is not
// addressed to `interface` (or to a multicast group, when `multicast`), binds them to the loopback device where that is
// the interface, and closes every UDP socket of this process to child processes. Throws std::runtime_error when the
// kernel refuses.
void RestrictSockets(uint32_t domain, const NetworkInterface& interface, bool multicast);

}  // namespace ZYNE::Linux
