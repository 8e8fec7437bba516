// What this device publishes in the device profile, and what it reads of others.
#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/device_profile_client.h"
#include "platform/host/picker_result.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "plugin/device_profile/profile_names.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr char LOCAL_DEVICE_ID[] = "LOCAL";
constexpr char SERVICE_NAME[] = "serviceName";
constexpr char SERVICE_TYPE[] = "serviceType";
constexpr int32_t NOT_PUT = -1;

bool ParseObject(const std::string& text, Json::Value& object) {
    return JsonUtils::StringToJsonInternal(text, &object) && object.isObject();
}

int32_t PutService(const std::string& deviceId, const std::string& serviceName, const std::string& serviceType) {
    ServiceProfile profile;
    profile.SetDeviceId(deviceId);
    profile.SetServiceName(serviceName);
    profile.SetServiceType(serviceType);
    return DeviceProfileClient::GetInstance().PutServiceProfile(profile);
}

CharacteristicProfile MakeCharacteristic(
    const std::string& deviceId, const std::string& serviceName, const std::string& key, const std::string& value) {
    CharacteristicProfile profile;
    profile.SetDeviceId(deviceId);
    profile.SetServiceName(serviceName);
    profile.SetCharacteristicKey(key);
    profile.SetCharacteristicValue(value);
    return profile;
}

}  // namespace

int32_t DeviceProfileManager::PutInfoCollectionWithJson(Json::Value& info) {
    CFWK_LOGI(LOG, "PutProfileJson");
    const std::string text = info.toStyledString();
    const int32_t code =
        PutService(LOCAL_DEVICE_ID, ProfileNames::INFO_COLLECTION_SERVICE, ProfileNames::INFO_COLLECTION_SERVICE);
    if (code != 0) {
        CFWK_LOGE(LOG, "PutServiceProfile failed ret:%{public}d", code);
        return code;
    }
    CFWK_LOGI(LOG, "PutServiceProfile success");
    const CharacteristicProfile profile = MakeCharacteristic(
        LOCAL_DEVICE_ID, ProfileNames::INFO_COLLECTION_SERVICE, ProfileNames::INFO_COLLECTION_CHARACTERISTIC, text);
    CFWK_LOGI(LOG,
        "PutCharacteristicProfile: deviceId: %{public}s, ServiceName: %{public}s, InfoCollectionJson: %{public}s",
        PickerResult::StringToAnonymous(LOCAL_DEVICE_ID), ProfileNames::INFO_COLLECTION_SERVICE,
        PickerResult::StringToAnonymous(text));
    const int32_t characteristicCode = DeviceProfileClient::GetInstance().PutCharacteristicProfile(profile);
    if (characteristicCode != 0) {
        CFWK_LOGE(LOG, "PutCharacteristicProfile failed ret:%{public}d", characteristicCode);
    }
    return characteristicCode;
}

std::string DeviceProfileManager::GetSyncData(
    const std::string& deviceId, const std::string& key, const std::string& extraInfo) {
    CFWK_LOGI(LOG, "start getSyncData, deviceId: %{public}s, key: %{public}s, extraInfo: %{public}s",
        PickerResult::StringToAnonymous(deviceId), key, extraInfo);
    Json::Value extra;
    if (!ParseObject(extraInfo, extra)) {
        return {};
    }
    std::string serviceName;
    if (!JsonUtils::GetString(extra, SERVICE_NAME, serviceName)) {
        CFWK_LOGE(LOG, "extra info not contains necessary fields");
        return {};
    }
    CharacteristicProfile profile;
    const int32_t code =
        DeviceProfileClient::GetInstance().GetCharacteristicProfile(deviceId, serviceName, key, profile);
    CFWK_LOGI(LOG, "GetCharacteristicProfile ret:%{public}d", code);
    if (code != 0) {
        CFWK_LOGE(LOG, "get device profile failed!");
        return {};
    }
    if (profile.GetServiceName() != serviceName) {
        CFWK_LOGE(LOG, "GetServiceName failed!");
        return {};
    }
    if (profile.GetCharacteristicKey() != key) {
        CFWK_LOGE(LOG, "GetCharacteristicKey failed!");
        return {};
    }
    return profile.GetCharacteristicValue();
}

int32_t DeviceProfileManager::PutSyncData(
    const std::string& key, const std::string& value, const std::string& extraInfo) {
    CFWK_LOGI(LOG, "start putSyncData, key: %{public}s, extraInfo: %{public}s", key, extraInfo);
    const sptr<DeviceInfo> localDevice = CollaborationFwkServiceUtils::GetLocalDeviceInfo();
    if (!localDevice) {
        CFWK_LOGE(LOG, "GetLocalDeviceInfo failed");
        return NOT_PUT;
    }
    const std::string udid = CollaborationFwkServiceUtils::GetPeerDeviceUdid(localDevice->GetDeviceNetworkId());
    Json::Value extra;
    if (!ParseObject(extraInfo, extra)) {
        CFWK_LOGI(LOG, "PutServiceProfile parse failed");
        return NOT_PUT;
    }
    std::string serviceName;
    std::string serviceType;
    if (!JsonUtils::GetString(extra, SERVICE_NAME, serviceName) ||
        !JsonUtils::GetString(extra, SERVICE_TYPE, serviceType)) {
        CFWK_LOGE(LOG, "extra info not contains necessary fields");
        return NOT_PUT;
    }
    const int32_t serviceCode = PutService(udid, serviceName, serviceType);
    CFWK_LOGI(LOG, "PutServiceProfile ret:%{public}d", serviceCode);
    const CharacteristicProfile profile = MakeCharacteristic(udid, serviceName, key, value);
    const int32_t code = DeviceProfileClient::GetInstance().PutCharacteristicProfile(profile);
    CFWK_LOGI(LOG, "PutCharacteristicProfile: deviceId: %{public}s, serviceName: %{public}s",
        PickerResult::StringToAnonymous(udid), serviceName);
    if (code != 0) {
        CFWK_LOGE(LOG, "PutCharacteristicProfile failed ret:%{public}d", code);
    }
    return code;
}

}  // namespace ZYNE::CollaborationFwk
