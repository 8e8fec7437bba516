#include "plugin/device_profile/subscribe_dp_change_listener.h"

#include "platform/system_ability/system_ability_ids.h"
#include "plugin/datashare/datashare_manager.h"
#include "plugin/device_profile/profile_names.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;
constexpr LogDomain DETECT_LOG = LogDomains::DETECT;

constexpr char INFO_COLLECTION_URI[] = "datashare:///com.varn.collaborationfwk.infocollection";
constexpr char DATA_SHARE_CHANGED[] = "{datashareChanged:true}";  // this form is what apps look for

bool IsOfService(const CharacteristicProfile& profile, const char* serviceName) {
    return KeyMouseServiceManager::GetInstance().IsContainServiceId(profile, serviceName);
}

bool IsInfoCollection(const char* operation, const CharacteristicProfile& profile) {
    if (IsOfService(profile, ProfileNames::INFO_COLLECTION_SERVICE)) {
        return true;
    }
    CFWK_LOG_AS(DEBUG, LOG, operation, "not infoCollection change");
    return false;
}

// Hands the value to the apps of this device; false when there is no way to them.
bool WriteToDataShare(const CharacteristicProfile& profile) {
    DataShareManager& dataShare = DataShareManager::GetInstance();
    if (!dataShare.CreateDataShareHelper(INFO_COLLECTION_URI, SystemAbilityIds::DEVICE_PROFILE)) {
        return false;
    }
    dataShare.InsertDPChangedInfo(INFO_COLLECTION_URI, profile.GetDeviceId(), profile.GetCharacteristicValue());
    dataShare.NotifyDPChangedInfo(INFO_COLLECTION_URI, DATA_SHARE_CHANGED);
    return true;
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
    TellKeyMouse(__FUNCTION__, profile);
    if (!IsInfoCollection(__FUNCTION__, profile)) {
        return ResultCodes::INVALID_PARAMETER;
    }
    CFWK_LOGI(LOG, "OnCharacteristicProfileAdd start datashare");
    if (!WriteToDataShare(profile)) {
        CFWK_LOGE(LOG, "OnCharacteristicProfileAdd CreateDataShareHelper failed");
        return ResultCodes::INVALID_PARAMETER;
    }
    CFWK_LOGI(LOG, "OnCharacteristicProfileAdd load datashare success");
    return 0;
}

int32_t Listener::OnCharacteristicProfileUpdate(const CharacteristicProfile&, const CharacteristicProfile& newProfile) {
    CFWK_LOGI(DETECT_LOG, "CharacteristicProfile update, key: %{public}s", newProfile.GetCharacteristicKey());
    TellListeners(newProfile, SyncProfileChangeType::UPDATE);
    TellKeyMouse(__FUNCTION__, newProfile);
    if (!IsInfoCollection(__FUNCTION__, newProfile)) {
        return ResultCodes::INVALID_PARAMETER;
    }
    CFWK_LOGI(LOG, "OnCharacteristicProfileUpdate start datashare");
    if (!WriteToDataShare(newProfile)) {
        CFWK_LOGE(LOG, "OnCharacteristicProfileUpdate CreateDataShareHelper failed");
        return ResultCodes::INVALID_PARAMETER;
    }
    CFWK_LOGI(LOG, "OnCharacteristicProfileUpdate load datashare success");
    return 0;
}

int32_t Listener::OnCharacteristicProfileDelete(const CharacteristicProfile& profile) {
    CFWK_LOGI(DETECT_LOG, "CharacteristicProfile delete, key: %{public}s", profile.GetCharacteristicKey());
    TellListeners(profile, SyncProfileChangeType::DELETE);
    CFWK_LOGI(LOG, "OnCharacteristicProfileDelete start.");
    TellKeyMouse(__FUNCTION__, profile);
    // Apps keep what they have.
    return IsInfoCollection(__FUNCTION__, profile) ? 0 : ResultCodes::INVALID_PARAMETER;
}

void Listener::TellListeners(const CharacteristicProfile& profile, SyncProfileChangeType type) {
    DeviceProfileManager& manager = DeviceProfileManager::GetInstance();
    if (const ProfileChangeListener listener = manager.GetProfileChangeListener()) {
        listener(profile, type);
    }
    manager.ExecuteSuperDeviceProfileChangeListener();
}

void Listener::TellKeyMouse(const char* operation, const CharacteristicProfile& profile) {
    if (IsOfService(profile, ProfileNames::KEY_MOUSE_SERVICE)) {
        CFWK_LOG_AS(INFO, LOG, operation, "deviceStatus change");
        KeyMouseServiceManager::GetInstance().OnDeviceStatusChanged(profile, deviceType_);
    }
}

}  // namespace ZYNE::CollaborationFwk
