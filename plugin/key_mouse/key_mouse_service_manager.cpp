#include "plugin/key_mouse/key_mouse_service_manager.h"

#include "platform/host/picker_result.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

KeyMouseServiceManager& KeyMouseServiceManager::GetInstance() {
    static KeyMouseServiceManager instance;
    return instance;
}

bool KeyMouseServiceManager::IsContainServiceId(const CharacteristicProfile& profile, const std::string& serviceId) {
    CFWK_LOGI(
        LOG, "deviceId: %{public}s check IsContainServiceId", PickerResult::StringToAnonymous(profile.GetDeviceId()));
    if (profile.GetServiceName() != serviceId) {
        return false;
    }
    CFWK_LOGI(LOG, "IsContainServiceId for %{public}s is true", serviceId);
    return true;
}

}  // namespace ZYNE::CollaborationFwk
