// A characteristic that is to be subscribed on every online peer.
#pragma once

#include <string>

namespace ZYNE::CollaborationFwk {

struct ServiceCollectPairInfo {
    std::string serviceName;
    std::string characteristicKey;
};

}  // namespace ZYNE::CollaborationFwk
