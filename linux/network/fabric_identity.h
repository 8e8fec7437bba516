// Who this device is on the network, and how it proves that.
#pragma once

#include <optional>
#include <string>

#include "linux/account/credentials.h"
#include "linux/network/fabric_options.h"
#include "linux/network/link/links.h"

namespace ZYNE::Linux {

struct FabricIdentity {
    // Throws std::runtime_error with one line when the credentials do not hold or something is missing.
    explicit FabricIdentity(const FabricOptions& options);

    std::optional<Credentials> credentials;  // in account mode
    LinkIdentity link;
};

}  // namespace ZYNE::Linux
