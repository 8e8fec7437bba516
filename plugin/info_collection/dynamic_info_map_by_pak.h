// One dynamic info item that an app serves.
#pragma once

#include <string>

namespace ZYNE::CollaborationFwk {

struct DynamicInfoMapByPak {
    std::string infoName;
    std::string bundleName;
    std::string serviceExtensionAbilityName;
    std::string commandCode;  // hexadecimal
    std::string variable;
    std::string dataShareUri;
};

}  // namespace ZYNE::CollaborationFwk
