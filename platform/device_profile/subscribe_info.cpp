#include "platform/device_profile/subscribe_info.h"

#include <algorithm>

namespace ZYNE {

bool SubscribeInfo::Wants(const CharacteristicProfile& profile, ProfileChangeType type) const {
    const bool sameUser = key_.userId == CharacteristicProfile::ALL_USERS ||
        profile.GetUserId() == CharacteristicProfile::ALL_USERS || key_.userId == profile.GetUserId();
    return sameUser && key_.deviceId == profile.GetDeviceId() && key_.serviceName == profile.GetServiceName() &&
        key_.characteristicKey == profile.GetCharacteristicKey() &&
        std::find(changeTypes_.begin(), changeTypes_.end(), type) != changeTypes_.end();
}

}  // namespace ZYNE
