// Peers as they come and go, and the subscriptions of their profiles.
#include "plugin/device_profile/device_profile_manager.h"

#include "platform/device_manager/dm_device_state.h"
#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/device_profile_client.h"
#include "platform/host/global_variables.h"
#include "platform/host/picker_result.h"
#include "platform/system_ability/system_ability_ids.h"
#include "plugin/device_profile/profile_names.h"
#include "plugin/device_profile/subscribe_dp_change_listener.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr char CHARACTERISTIC_VALUE[] = "characteristicValue";
constexpr int CHARACTERISTIC_CHANGED = 3;  // what the super device listener is told

[[maybe_unused]] const auto& g_builtAtLoad = DeviceProfileManager::GetInstance();

// Whether the key-mouse manager wants to hear that a device of this type comes or goes.
bool IsKeyMouseDevice(const DeviceInfo& device) {
    const uint32_t type = device.GetDeviceType();
    return type == DeviceType::PHONE || type == DeviceType::PC || type == DeviceType::TABLET;
}

}  // namespace

DeviceProfileManager& DeviceProfileManager::GetInstance() {
    return Singleton<DeviceProfileManager>::Get();
}

void DeviceProfileManager::HandleDeviceProfileChange(int state, const DmDeviceInfo& info) {
    CFWK_LOGI(LOG, "HandleDeviceProfileChange start");
    if (info.authForm != DmDeviceInfo::IDENTICAL_ACCOUNT) {
        CFWK_LOGE(LOG, "authForm is not IDENTICAL_ACCOUNT authForm %{public}d ", info.authForm);
        return;
    }
    const sptr<DeviceInfo> device =
        MakeSptr<DeviceInfo>(info.deviceId, info.networkId, info.deviceName, info.deviceTypeId);
    if (!device) {
        CFWK_LOGE(LOG, "deviceInfoPtr is nullptr");
        return;
    }
    device->SetDeviceUdid(CollaborationFwkServiceUtils::GetPeerDeviceUdid(info.networkId));
    switch (state) {
    case DEVICE_STATE_ONLINE:
    case DEVICE_INFO_READY:
        CFWK_LOGI(LOG, "new device online:%{public}d, try to subscribe remote device info", state);
        SubscribeOnlineDevice(device);
        if (IsKeyMouseDevice(*device)) {
            KeyMouseServiceManager::GetInstance().OnDeviceOnline(device);
        }
        break;
    case DEVICE_STATE_OFFLINE:
        CFWK_LOGI(LOG, "old device offline, try to unsubscribe remote device info");
        UnsubscribeOfflineDevice(device);
        if (IsKeyMouseDevice(*device)) {
            KeyMouseServiceManager::GetInstance().OnDeviceOffline(device);
        }
        break;
    case DEVICE_INFO_CHANGED:
        SubscribeOnlineDevice(device);
        KeyMouseServiceManager::GetInstance().OnDeviceChanged(device);
        break;
    default:
        break;
    }
}

int32_t DeviceProfileManager::SubscribeOnlineDevice(sptr<DeviceInfo> device) {
    if (!device) {
        CFWK_LOGE(LOG, "deviceInfoPtr is nullptr");
        return ResultCodes::INVALID_PARAMETER;
    }
    const std::string udid = device->GetDeviceUdid();
    const uint32_t deviceType = device->GetDeviceType();
    if (!RecordDevice(*device)) {
        CFWK_LOGE(LOG, "device exists, ignore this device");
        return ResultCodes::ALREADY_SUBSCRIBED;
    }
    CFWK_LOGI(LOG, "deviceId:%{public}s check", PickerResult::StringToAnonymous(udid));
    const sptr<IProfileChangeListener> listener = MakeSptr<SubscribeDPChangeListener>(deviceType);
    if (!listener) {
        return ResultCodes::LISTENER_NOT_CREATED;
    }
    AddDeviceProfileSubscribe(listener, udid, deviceType);
    SubscribeOnlineDeviceInternal(
        udid, listener, ProfileNames::KEY_MOUSE_SERVICE, ProfileNames::KEY_MOUSE_CHARACTERISTIC);
    SubscribeOnlineDeviceInternal(
        udid, listener, ProfileNames::INFO_COLLECTION_SERVICE, ProfileNames::INFO_COLLECTION_CHARACTERISTIC);
    const CollectedPairs pairs = CollectPairs();
    CFWK_LOGI(LOG, "collectInfoList size is: %{public}lu", pairs.size());
    for (const auto& pair : pairs) {
        if (!pair) {
            CFWK_LOGE(LOG, "collectInfo is nullptr");
            continue;
        }
        const sptr<IProfileChangeListener> pairListener = MakeSptr<SubscribeDPChangeListener>(deviceType);
        if (!pairListener) {
            CFWK_LOGE(LOG, "profileListener is nullptr");
            continue;
        }
        SubscribeOnlineDeviceInternal(udid, pairListener, pair->serviceName, pair->characteristicKey);
    }
    return 0;
}

bool DeviceProfileManager::RecordDevice(const DeviceInfo& device) {
    const std::string udid = device.GetDeviceUdid();
    auto record =
        std::make_shared<DeviceInfo>(udid, device.GetDeviceNetworkId(), device.GetDeviceName(), device.GetDeviceType());
    std::lock_guard lock(mutex_);
    return deviceMap_.try_emplace(udid, std::move(record)).second;
}

void DeviceProfileManager::AddDeviceProfileSubscribe(
    sptr<IProfileChangeListener> listener, const std::string& udid, uint32_t deviceType) {
    CFWK_LOGI(LOG, "AddDeviceProfileSubscribe enter");
    if (deviceType != DeviceType::TV) {
        return;
    }
    CFWK_LOGI(LOG, "TV ProfileChangeListener enter");
    SubscribeOnlineDeviceInternal(udid, listener, GloableVariables::KEY_SCREEN, GloableVariables::KEY_SCREEN_ON);
    SubscribeOnlineDeviceInternal(udid, listener, GloableVariables::WIFI_DISPLAY_SERVICE, GloableVariables::STATUS);
    SubscribeOnlineDeviceInternal(
        udid, listener, GloableVariables::DEVICE_STATUS_SERVICE, GloableVariables::SUPPORT_SINK_SERVICE);
}

DeviceProfileManager::CollectedPairs DeviceProfileManager::CollectPairs() {
    SubscribeInfoListener collect;
    {
        std::lock_guard lock(listenerMutex_);
        collect = subscribeInfoListener_;
    }
    return collect ? collect() : CollectedPairs();
}

int32_t DeviceProfileManager::SubscribeOnlineDeviceInternal(const std::string& udid,
    sptr<IProfileChangeListener> listener, const std::string& serviceName, const std::string& characteristicKey) {
    SubscribeInfo info;
    info.SetSaId(SystemAbilityIds::DEVICE_PROFILE);
    info.SetSubscribeKey(udid, serviceName, characteristicKey, CHARACTERISTIC_VALUE, CharacteristicProfile::ALL_USERS);
    info.AddProfileChangeType(ProfileChangeType::CHARACTERISTIC_UPDATE);
    info.AddProfileChangeType(ProfileChangeType::CHARACTERISTIC_ADD);
    info.AddProfileChangeType(ProfileChangeType::CHARACTERISTIC_DELETE);
    info.SetListener(listener);
    const int32_t code = DeviceProfileClient::GetInstance().SubscribeDeviceProfile(info);
    CFWK_LOGI(LOG, "SubscribeDeviceProfile ret: %{public}d for deviceId%{public}s SERVICE_ID:%{public}s", code,
        PickerResult::StringToAnonymous(udid), serviceName);
    if (code != 0) {
        return code;
    }
    std::lock_guard lock(mutex_);
    profileMap_[udid].insert_or_assign(characteristicKey, info);
    return 0;
}

int32_t DeviceProfileManager::UnsubscribeOfflineDevice(sptr<DeviceInfo> device) {
    if (!device) {
        CFWK_LOGE(LOG, "deviceInfoPtr is nullptr");
        return ResultCodes::INVALID_PARAMETER;
    }
    const std::string udid = device->GetDeviceUdid();
    // Held to the end: a device that is back at once is recorded anew only when its old subscriptions are gone. The
    // port neither calls listeners inline nor waits for them.
    std::lock_guard lock(mutex_);
    CFWK_LOGI(LOG, "UnsubscribeOfflineDevice deviceId:%{public}s", PickerResult::StringToAnonymous(udid));
    if (!deviceMap_.contains(udid)) {
        CFWK_LOGE(LOG, "device not exists, ignore this device");
        return ResultCodes::DEVICE_NOT_RECORDED;
    }
    const auto found = profileMap_.find(udid);
    if (found == profileMap_.end()) {
        deviceMap_.erase(udid);
        CFWK_LOGE(LOG, "device not exists int profileMap");
        return ResultCodes::DEVICE_NOT_RECORDED;
    }
    CFWK_LOGI(LOG, "businessMap size: %{public}lu", found->second.size());
    for (const auto& [characteristicKey, info] : found->second) {
        const int32_t code = DeviceProfileClient::GetInstance().UnSubscribeDeviceProfile(info);
        CFWK_LOGI(LOG, "unsubscribe, characteristicKey: %{public}s, ret: %{public}d", characteristicKey, code);
    }
    profileMap_.erase(found);
    deviceMap_.erase(udid);
    CFWK_LOGI(LOG, "unsubscribe remove deviceId record");
    return 0;
}

// In each of these the function that is not stored dies with the parameter, outside the lock: what it captured may call
// back.
void DeviceProfileManager::RegisterProfileChangeListener(ProfileChangeListener listener) {
    std::lock_guard lock(listenerMutex_);
    profileChangeListener_.swap(listener);
}

void DeviceProfileManager::RegisterSubscribeInfoListener(SubscribeInfoListener listener) {
    std::lock_guard lock(listenerMutex_);
    subscribeInfoListener_.swap(listener);
}

void DeviceProfileManager::RegisterSuperDeviceProfileChangeListenerMap(std::string name, SuperDeviceListener listener) {
    std::lock_guard lock(listenerMutex_);
    deviceProfileChangeListenerMap_.try_emplace(std::move(name), std::move(listener));
}

DeviceProfileManager::ProfileChangeListener DeviceProfileManager::GetProfileChangeListener() {
    std::lock_guard lock(listenerMutex_);
    return profileChangeListener_;
}

std::optional<DeviceProfileManager::SuperDeviceListener> DeviceProfileManager::FindSuperDeviceListener() {
    std::lock_guard lock(listenerMutex_);
    const auto found = deviceProfileChangeListenerMap_.find(GloableVariables::SUPER_DEVICE_DP_CHANGE_LISTENER_KEY);
    return found != deviceProfileChangeListenerMap_.end() ? std::optional(found->second) : std::nullopt;
}

void DeviceProfileManager::ExecuteSuperDeviceProfileChangeListener() {
    CFWK_LOGI(LOG, "ExecuteSuperDeviceProfileChangeListener start");
    const std::optional<SuperDeviceListener> listener = FindSuperDeviceListener();
    if (!listener) {
        CFWK_LOGE(LOG, "deviceProfileChangeListenerMap_ not found");
    } else if (!*listener) {
        CFWK_LOGE(LOG, "ExecuteSuperDeviceProfileChangeListener listener not found");
    } else {
        (*listener)(CHARACTERISTIC_CHANGED);
    }
}

}  // namespace ZYNE::CollaborationFwk
