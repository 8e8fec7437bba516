#include "plugin/device_profile/subscribe_dp_change_listener.h"

#include "plugin/datashare/datashare_manager.h"
#include "plugin/device_profile/profile_names.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"
#include "plugin/utils/system_ability_ids.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;
constexpr LogDomain DETECT_LOG = LogDomains::DETECT;

constexpr char INFO_COLLECTION_URI[] = "datashare:///com.varn.collaborationfwk.infocollection";
constexpr char DATA_SHARE_CHANGED[] = "{datashareChanged:true}";  // this form is what apps look for

bool IsInfoCollection(const CharacteristicProfile& profile) {
    if (KeyMouseServiceManager::GetInstance().IsContainServiceId(profile, ProfileNames::INFO_COLLECTION_SERVICE)) {
        return true;
    }
    CFWK_LOGD(LOG, "not infoCollection change");
    return false;
}

// Hands the value to the apps of this device. `operation` is the callback that brought it.
int32_t WriteToDataShare(const CharacteristicProfile& profile, const char* operation) {
    CFWK_LOGI(LOG, "%{public}s start datashare", operation);
    DataShareManager& dataShare = DataShareManager::GetInstance();
    if (!dataShare.CreateDataShareHelper(INFO_COLLECTION_URI, SystemAbilityIds::DEVICE_PROFILE)) {
        CFWK_LOGE(LOG, "%{public}s CreateDataShareHelper failed", operation);
        return ResultCodes::INVALID_PARAMETER;
    }
    dataShare.InsertDPChangedInfo(INFO_COLLECTION_URI, profile.GetDeviceId(), profile.GetCharacteristicValue());
    dataShare.NotifyDPChangedInfo(INFO_COLLECTION_URI, DATA_SHARE_CHANGED);
    CFWK_LOGI(LOG, "%{public}s load datashare success", operation);
    return 0;
}

}  // namespace

using Listener = DeviceProfileManager::SubscribeDPChangeListener;

int32_t Listener::OnTrustDeviceProfileAdd(const TrustDeviceProfile&) {
    CFWK_LOGI(LOG, "OnTrustDeviceProfileAdd start.");
    return 0;
}

int32_t Listener::OnTrustDeviceProfileDelete(const TrustDeviceProfile&) {
    CFWK_LOGI(LOG, "OnTrustDeviceProfileDelete start.");
    return 0;
}

int32_t Listener::OnTrustDeviceProfileUpdate(const TrustDeviceProfile&, const TrustDeviceProfile&) {
    CFWK_LOGI(LOG, "OnTrustDeviceProfileUpdate start.");
    return 0;
}

int32_t Listener::OnDeviceProfileAdd(const DeviceProfile&) {
    CFWK_LOGI(LOG, "OnDeviceProfileAdd start.");
    return 0;
}

int32_t Listener::OnDeviceProfileDelete(const DeviceProfile&) {
    CFWK_LOGI(LOG, "OnDeviceProfileDelete start.");
    return 0;
}

int32_t Listener::OnDeviceProfileUpdate(const DeviceProfile&, const DeviceProfile&) {
    CFWK_LOGI(LOG, "OnDeviceProfileUpdate start.");
    return 0;
}

int32_t Listener::OnServiceProfileAdd(const ServiceProfile&) {
    CFWK_LOGI(LOG, "OnServiceProfileAdd start.");
    return 0;
}

int32_t Listener::OnServiceProfileDelete(const ServiceProfile&) {
    CFWK_LOGI(LOG, "OnServiceProfileDelete start.");
    return 0;
}

int32_t Listener::OnServiceProfileUpdate(const ServiceProfile&, const ServiceProfile&) {
    CFWK_LOGI(LOG, "OnServiceProfileUpdate start.");
    return 0;
}

int32_t Listener::OnCharacteristicProfileAdd(const CharacteristicProfile& profile) {
    CFWK_LOGI(DETECT_LOG, "CharacteristicProfile add, key: %{public}s", profile.GetCharacteristicKey());
    TellListeners(profile, SyncProfileChangeType::ADD);
    TellKeyMouse(profile);
    return IsInfoCollection(profile) ? WriteToDataShare(profile, "OnCharacteristicProfileAdd")
                                     : ResultCodes::INVALID_PARAMETER;
}

int32_t Listener::OnCharacteristicProfileUpdate(const CharacteristicProfile&, const CharacteristicProfile& newProfile) {
    CFWK_LOGI(DETECT_LOG, "CharacteristicProfile update, key: %{public}s", newProfile.GetCharacteristicKey());
    TellListeners(newProfile, SyncProfileChangeType::UPDATE);
    TellKeyMouse(newProfile);
    return IsInfoCollection(newProfile) ? WriteToDataShare(newProfile, "OnCharacteristicProfileUpdate")
                                        : ResultCodes::INVALID_PARAMETER;
}

int32_t Listener::OnCharacteristicProfileDelete(const CharacteristicProfile& profile) {
    CFWK_LOGI(DETECT_LOG, "CharacteristicProfile delete, key: %{public}s", profile.GetCharacteristicKey());
    TellListeners(profile, SyncProfileChangeType::DELETE);
    CFWK_LOGI(LOG, "OnCharacteristicProfileDelete start.");
    TellKeyMouse(profile);
    return IsInfoCollection(profile) ? 0 : ResultCodes::INVALID_PARAMETER;  // apps keep what they have
}

void Listener::TellListeners(const CharacteristicProfile& profile, SyncProfileChangeType type) {
    DeviceProfileManager& manager = DeviceProfileManager::GetInstance();
    if (const ProfileChangeListener listener = manager.GetProfileChangeListener()) {
        listener(profile, type);
    }
    manager.ExecuteSuperDeviceProfileChangeListener();
}

void Listener::TellKeyMouse(const CharacteristicProfile& profile) const {
    KeyMouseServiceManager& keyMouse = KeyMouseServiceManager::GetInstance();
    if (keyMouse.IsContainServiceId(profile, ProfileNames::KEY_MOUSE_SERVICE)) {
        CFWK_LOGI(LOG, "deviceStatus change");
        keyMouse.OnDeviceStatusChanged(profile, deviceType_);
    }
}

}  // namespace ZYNE::CollaborationFwk
