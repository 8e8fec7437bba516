// Which devices take part in crossing, and what their coming, going and changing brings about.
#include <algorithm>
#include <utility>

#include "platform/device_manager/device_manager.h"
#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/device_filter.h"
#include "platform/host/global_variables.h"
#include "platform/host/host_ability_manager.h"
#include "platform/host/picker_result.h"
#include "plugin/key_mouse/key_mouse_rules.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr size_t MAX_TRUSTED_DEVICES = 10000;
constexpr char OS_TYPE[] = "OS_TYPE";
constexpr int32_t BUNDLE_USER = 100;
constexpr int32_t NO_BUNDLE_FLAGS = 0;
constexpr uint32_t STOP_DELAY_MS = 300000;

int32_t QueryTrustedDevices(std::vector<DmDeviceInfo>& devices) {
    return DeviceManager::GetInstance().GetTrustedDeviceList(
        KeyMouseServiceManager::DEVICE_MANAGER_PKG_NAME, "", devices);
}

}  // namespace

bool KeyMouseServiceManager::GetTrustedDevices(const char* operation, std::vector<DmDeviceInfo>& devices) {
    QueryTrustedDevices(devices);  // only the list counts
    if (devices.empty() || devices.size() > MAX_TRUSTED_DEVICES) {
        CFWK_LOG_AS(ERROR, LOG, operation, "trust device list size is invalid");
        return false;
    }
    return true;
}

bool KeyMouseServiceManager::FetchTrustedDevices(const char* operation, std::vector<DmDeviceInfo>& devices) {
    const int32_t code = QueryTrustedDevices(devices);
    if (code != 0) {
        CFWK_LOG_AS(ERROR, LOG, operation, "Failed to GetTrustedDeviceList, ret: %{public}d.", code);
        return false;
    }
    if (devices.empty()) {
        CFWK_LOG_AS(ERROR, LOG, operation, "No trusted devices.");
        return false;
    }
    return true;
}

std::optional<DmDeviceInfo> KeyMouseServiceManager::FindTrustedDevice(
    const char* operation, const std::string& networkId) {
    std::vector<DmDeviceInfo> devices;
    if (!GetTrustedDevices(operation, devices)) {
        return std::nullopt;
    }
    const auto found = std::find_if(
        devices.begin(), devices.end(), [&](const DmDeviceInfo& device) { return device.networkId == networkId; });
    return found != devices.end() ? std::optional(*found) : std::nullopt;
}

bool KeyMouseServiceManager::IsSurpportDevice(uint32_t deviceTypeId) {
    const auto supportDeviceFilter_ = MakeSptr<DeviceFilter>(
        std::vector<uint32_t>{11, 12, DeviceType::TABLET, DeviceType::PC, DeviceType::PHONE}, std::vector<uint32_t>{0});
    if (!supportDeviceFilter_) {
        CFWK_LOGI(LOG, "supportDeviceFilter_ is nullptr");
        return false;
    }
    return supportDeviceFilter_->isDeviceTypeMatch(deviceTypeId);
}

bool KeyMouseServiceManager::IsNextDevice(const DmDeviceInfo& info) {
    Json::Value extraData;
    if (!JsonUtils::StringToJsonInternal(info.extraData, &extraData) || !extraData.isObject()) {
        CFWK_LOGE(LOG, "StringToJson failed");
        return false;
    }
    int32_t osType = 0;
    if (!JsonUtils::GetInt(extraData, OS_TYPE, osType)) {
        CFWK_LOGE(LOG, "param OS_TYPE is invalid");
        return false;
    }
    CFWK_LOGI(LOG, "osType is %{public}d", osType);
    return KeyMouseRules::IsNextOsType(osType);
}

bool KeyMouseServiceManager::IsNextDevice(const std::string& networkId) {
    const std::optional<DmDeviceInfo> device = FindTrustedDevice(__func__, networkId);
    return device && IsNextDevice(*device);
}

bool KeyMouseServiceManager::IsSameAccount(const std::string& networkId) {
    const std::optional<DmDeviceInfo> device = FindTrustedDevice(__func__, networkId);
    return device && KeyMouseRules::IsIdenticalAccount(*device);
}

void KeyMouseServiceManager::SetDeviceStatus(const std::string& udid, bool online) {
    std::lock_guard lock(onlineDevicesMutex_);
    onlineDevices_[udid] = online;
}

bool KeyMouseServiceManager::HasOnlineDeviceSwitchOn() {
    // Held while the switches are read from the profile: the port neither calls back inline nor waits.
    std::lock_guard lock(onlineDevicesMutex_);
    if (onlineDevices_.empty()) {
        CFWK_LOGE(LOG, "No Online devices.");
        return false;
    }
    return IsAnyOnlineSwitchOn();
}

bool KeyMouseServiceManager::CheckIfNeedStopKeyMouse() {
    std::lock_guard lock(onlineDevicesMutex_);  // as above
    return !IsAnyOnlineSwitchOn();
}

bool KeyMouseServiceManager::IsAnyOnlineSwitchOn() {
    return std::any_of(onlineDevices_.begin(), onlineDevices_.end(),
        [this](const auto& entry) { return entry.second && CheckDeviceStatus(entry.first); });
}

bool KeyMouseServiceManager::CheckDeviceStatus(const std::string& udid) {
    const bool isOn = udid == GetLocalDeviceUdid() ? localEdgeSwitchState_.load() : GetDeviceStatusFromDp(udid).first;
    CFWK_LOGI(LOG, "GetEdgeSwitchState for deviceId:%{public}s successfully, state:%{public}s",
        PickerResult::StringToAnonymous(udid), isOn ? "true" : "false");
    return isOn;
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

void KeyMouseServiceManager::AddServiceId(uint32_t remoteDeviceTypeId, std::vector<std::string>& serviceIds) {
    CFWK_LOGI(LOG, "local device type id: %{public}u, remote device type id: %{public}u", localDeviceType_.load(),
        remoteDeviceTypeId);
    if (IsSurpportDevice(remoteDeviceTypeId) && IsSurpportDevice(localDeviceType_)) {
        serviceIds.emplace_back(KEY_MOUSE_EDGE_SERVICE_ID);
    }
}

std::string KeyMouseServiceManager::getDeviceNetworkId(const std::string& udid) {
    std::vector<DmDeviceInfo> devices;
    if (!FetchTrustedDevices(__func__, devices)) {
        return {};
    }
    for (const DmDeviceInfo& device : devices) {
        if (CollaborationFwkServiceUtils::GetPeerDeviceUdid(device.networkId) == udid) {
            return device.networkId;
        }
    }
    return {};
}

bool KeyMouseServiceManager::IsPeerDeskInstalled() {
    const sptr<IBundleMgr> bundleManager = HostAbilityManager::GetInstance().GetBundleManagerProxy();
    if (!bundleManager) {
        CFWK_LOGE(LOG, "failed to get bms proxy");
        return false;
    }
    const std::string name = GloableVariables::PEER_DESK_BUNDLE_NAME;
    ApplicationInfo info;
    if (bundleManager->GetApplicationInfo(name, NO_BUNDLE_FLAGS, BUNDLE_USER, info) != 0) {
        CFWK_LOGE(LOG, "Query ability infos error");
        return false;
    }
    if (info.bundleName != name || !info.enabled) {
        CFWK_LOGE(LOG, "Peerdesk is not installed.");
        return false;
    }
    CFWK_LOGI(LOG, "Find PeerDesk");
    return true;
}

int32_t KeyMouseServiceManager::OnDeviceOnline(sptr<DeviceInfo> deviceInfo) {
    CFWK_LOGI(LOG, "enter");
    if (!deviceInfo) {
        CFWK_LOGE(LOG, "info is null");
        return ResultCodes::INVALID_PARAMETER;
    }
    if (IsSurpportDevice(deviceInfo->GetDeviceType())) {
        SetDeviceStatus(deviceInfo->GetDeviceUdid(), true);
    }
    return TryConnectKeyMouseService(*deviceInfo);
}

void KeyMouseServiceManager::OnDeviceOffline(sptr<DeviceInfo> deviceInfo) {
    if (!deviceInfo) {
        CFWK_LOGE(LOG, "info is null");
        return;
    }
    CFWK_LOGI(LOG, "remote device: deviceId: %{public}s, deviceTypeId: %{public}u",
        PickerResult::StringToAnonymous(deviceInfo->GetDeviceUdid()), deviceInfo->GetDeviceType());
    if (IsSurpportDevice(deviceInfo->GetDeviceType())) {
        SetDeviceStatus(deviceInfo->GetDeviceUdid(), false);
    }
    if (stopTaskStarted_.exchange(true)) {
        CFWK_LOGE(LOG, "Stop key mouse service task already start");
        return;
    }
    StopKeyMouseServiceTimer(STOP_DELAY_MS);
}

void KeyMouseServiceManager::OnDeviceChanged(sptr<DeviceInfo> /*deviceInfo*/) {
    CFWK_LOGI(LOG, "enter");
}

void KeyMouseServiceManager::OnDeviceStatusChanged(const CharacteristicProfile& profile, uint32_t remoteDeviceTypeId) {
    CFWK_LOGI(LOG, "local deviceType: %{public}u, remote deviceType: %{public}u", localDeviceType_.load(),
        remoteDeviceTypeId);
    if (!IsSurpportDevice(remoteDeviceTypeId) || !IsSurpportDevice(localDeviceType_)) {
        CFWK_LOGI(LOG, "local deviceType or remote deviceType is not supported");
        return;
    }
    const std::string& udid = profile.GetDeviceId();
    onSwitchStatusChanged(udid, CheckDeviceStatus(udid));
    DecideByLocalSwitch();
}

}  // namespace ZYNE::CollaborationFwk
