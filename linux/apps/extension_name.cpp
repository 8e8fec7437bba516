#include "linux/apps/extension_name.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <systemd/sd-bus.h>

namespace ZYNE::Linux {

// sd-bus knows how to put any text into one element of an object path, and those fit into bus names as well.
std::string ExtensionBusName(const std::string& bundleName, const std::string& extensionName) {
    char* encoded = nullptr;
    const int result =
        sd_bus_path_encode_many(&encoded, "/com/zyne/extension/%/%", bundleName.c_str(), extensionName.c_str());
    const std::unique_ptr<char, decltype(&std::free)> path(encoded, &std::free);
    if (result < 0) {
        return {};
    }
    std::string name(encoded + 1);
    std::replace(name.begin(), name.end(), '/', '.');
    return sd_bus_service_name_is_valid(name.c_str()) > 0 ? name : std::string();
}

}  // namespace ZYNE::Linux
