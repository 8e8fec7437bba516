#include "linux/fabric/fabric_identity.h"

#include <stdexcept>

#include "linux/account/udid.h"
#include "linux/fabric/fabric_log.h"

namespace ZYNE::Linux {

FabricIdentity::FabricIdentity(const FabricOptions& options) {
    if (options.trust == FabricOptions::Trust::ACCOUNT) {
        credentials = LoadCredentials(options.credentials);
        udid = credentials->udid;
        return;
    }
    if (!IsUdid(options.udid) || options.accountName.empty()) {
        throw std::runtime_error("open mode needs a udid and the name of an account");
    }
    udid = options.udid;
    partitions = Partitions(options.accountName);
    FabricPrint(LogLevel::WARN,
        "open mode: peers prove nothing, nothing is encrypted, and whoever reaches interface %{public}s can be a peer",
        options.interface);
}

}  // namespace ZYNE::Linux
