// What the process of an app's extension is called on the bus.
#pragma once

#include <string>

namespace ZYNE::Linux {

// The well-known name of the extension, whatever characters its names hold. Empty when it would be too long for the
// bus.
std::string ExtensionBusName(const std::string& bundleName, const std::string& extensionName);

}  // namespace ZYNE::Linux
