// The DDS library's configuration.
#pragma once

#include <string>

#include "linux/fabric/fabric_options.h"
#include "linux/fabric/network_interface.h"

namespace ZYNE::Linux {

// As the library reads it: XML.
std::string DomainConfig(const FabricOptions& options, const NetworkInterface& interface);

}  // namespace ZYNE::Linux
