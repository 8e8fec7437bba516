// Construction and start-up: waiting for the device profile and the settings.
#include "plugin/key_mouse/key_mouse_service_manager.h"

#include <chrono>

#include "platform/device_manager/device_manager.h"
#include "platform/host/asyn_thread_pool.h"
#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/device_profile_client.h"
#include "platform/host/global_variables.h"
#include "platform/host/picker_result.h"
#include "platform/time/time_source.h"
#include "plugin/key_mouse/key_mouse_rules.h"
#include "plugin/key_mouse/key_mouse_task_param.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr int32_t MAX_DP_ATTEMPTS = 10;
constexpr std::chrono::seconds DP_RETRY_INTERVAL{1};

}  // namespace

KeyMouseServiceManager& KeyMouseServiceManager::GetInstance() {
    return Singleton<KeyMouseServiceManager>::Get();
}

KeyMouseServiceManager::KeyMouseServiceManager()
    : keyMouseServiceConnection_(MakeSptr<KeyMouseServiceConnection>()),
      screenStatusCallback_(std::make_shared<KeyMouseDeviceScreenStatusCallback>()),
      dataShareObserver_(MakeSptr<KeyMouseDataShareObserver>()), eventHandlers_{
                                                                     {GloableVariables::ACTION_SEND_KEY_MOUSE_EVENT,
                                                                         &KeyMouseServiceManager::OnKeyMouseEvent}} {}

void KeyMouseServiceManager::OnDpStart() {
    CFWK_LOGI(LOG, "Enter.");
    if (GetLocalDeviceUdid().empty()) {
        SetLocalDeviceUdid();  // when it fails, nothing is published until it is called again
    }
    if (!AsynThreadPool::GetInstance()->AddAsynTask([this] { CheckDpInitAsync(); }, KEY_MOUSE_TASK)) {
        CFWK_LOGW(LOG, "Add async task failed.");
        dpInitDone_ = true;
    }
}

void KeyMouseServiceManager::OnDbStart() {
    CFWK_LOGI(LOG, "Enter.");
}

void KeyMouseServiceManager::CheckDpInitAsync() {
    CFWK_LOGI(LOG, "Enter.");
    while (dpRetryTimes_ < MAX_DP_ATTEMPTS) {
        const std::string udid = GetLocalDeviceUdid();
        if (!udid.empty()) {
            const int32_t code = GetDeviceStatusFromDp(udid).second;
            CFWK_LOGI(LOG, "Dp ret: %{public}d, retry times: %{public}d", code, dpRetryTimes_.load());
            if (code != DeviceProfileClient::NOT_READY) {
                break;
            }
        }
        ++dpRetryTimes_;
        TimeSource::GetInstance().SleepFor(DP_RETRY_INTERVAL);
    }
    dpInitDone_ = true;
    CheckLocalSwitchState();
}

std::pair<bool, int32_t> KeyMouseServiceManager::GetDeviceStatusFromDp(const std::string& udid) {
    CharacteristicProfile profile;
    const int32_t code = DeviceProfileClient::GetInstance().GetCharacteristicProfile(
        udid, KEY_MOUSE_EDGE_SERVICE_ID, ProfileNames::KEY_MOUSE_CHARACTERISTIC, profile);
    if (code != 0) {
        CFWK_LOGE(LOG, "get device profile failed! deviceId: %{public}s, ret:%{public}d",
            PickerResult::StringToAnonymous(udid), code);
        return {false, code};
    }
    return {KeyMouseRules::IsSwitchOn(profile), 0};
}

void KeyMouseServiceManager::CheckLocalSwitchState() {
    if (!dbReady_ || !dpInitDone_ || GetLocalDeviceUdid().empty()) {
        return;
    }
    CFWK_LOGI(LOG, "sync switch state in dp.");
    UpdateEdgeSwitchState(GetLocalSwitchStateFromSettings());
    if (!AsynThreadPool::GetInstance()->AddAsynTask([this] { TryToPullKeyMouseServiceAsync(); }, KEY_MOUSE_TASK)) {
        CFWK_LOGW(LOG, "Add async task failed.");
    }
}

int32_t KeyMouseServiceManager::SetLocalDeviceUdid() {
    DmDeviceInfo info;
    const int32_t code = DeviceManager::GetInstance().GetLocalDeviceInfo(DEVICE_MANAGER_PKG_NAME, info);
    if (code != 0) {
        CFWK_LOGE(LOG, "Failed to GetLocalDeviceInfo, ret: %{public}d.", code);
        return code;
    }
    const std::string udid = CollaborationFwkServiceUtils::GetPeerDeviceUdid(info.networkId);
    {
        std::lock_guard lock(udidMutex_);
        localDeviceUdid_ = udid;
    }
    CheckLocalSwitchState();
    localDeviceType_ = info.deviceTypeId;
    CFWK_LOGI(LOG, "localDeviceUdid: {%{public}s}, localDeviceType: {%{public}u}",
        PickerResult::StringToAnonymous(udid), info.deviceTypeId);
    return code;
}

std::string KeyMouseServiceManager::GetLocalDeviceUdid() {
    std::lock_guard lock(udidMutex_);
    return localDeviceUdid_;
}

}  // namespace ZYNE::CollaborationFwk
