// The decision whether the companion's service runs, and the connection to it.
#include <algorithm>
#include <chrono>

#include "platform/ability/ability_manager_client.h"
#include "platform/ability/extension_manager_client.h"
#include "platform/host/asyn_thread_pool.h"
#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/global_variables.h"
#include "platform/host/picker_result.h"
#include "platform/time/time_source.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "plugin/key_mouse/key_mouse_rules.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/key_mouse/key_mouse_task_param.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr std::chrono::seconds PULL_DELAY{1};
constexpr uint32_t CONNECT_DELAY_MS = 1000;
constexpr int32_t CURRENT_USER = -1;
constexpr uint32_t DISCONNECT_CODE = 15;
constexpr int WAIT_SECONDS = 8;
constexpr char IS_SELF_START[] = "isSelfStart";

void SleepMs(uint32_t delayMs) {
    if (delayMs != 0) {
        TimeSource::GetInstance().SleepFor(std::chrono::milliseconds(delayMs));
    }
}

}  // namespace

void KeyMouseServiceManager::StartOrStopKeyMouseService(bool isSwitchOn) {
    if (bindKeymouseServiceReq_) {
        connectCount_ = 0;
        CFWK_LOGI(LOG, "BindKeymouseService");
        StartKeyMouseService();
        return;
    }
    if (!isSwitchOn) {
        CFWK_LOGI(LOG, "LocalDevice switch off");
        StopKeyMouseService();
        return;
    }
    if (!IsSurpportDevice(localDeviceType_)) {
        CFWK_LOGI(LOG, "localDeviceType not support %{public}d", localDeviceType_.load());
        StopKeyMouseService();
        return;
    }
    std::vector<DmDeviceInfo> devices;
    if (!GetTrustedDevices(__func__, devices)) {
        StopKeyMouseService();
        return;
    }
    for (const DmDeviceInfo& device : devices) {
        if (IsEligible(__func__, device)) {
            CFWK_LOGI(LOG, "trust and same acconut device switch on.");
            StartKeyMouseService();
            return;
        }
    }
    CFWK_LOGI(LOG, "have not trust and same acconut device switch on.");
    StopKeyMouseService();
}

KeyMouseServiceManager::PeerAnswers KeyMouseServiceManager::CheckPeer(const DmDeviceInfo& device) {
    PeerAnswers answers;
    answers.udid = CollaborationFwkServiceUtils::GetPeerDeviceUdid(device.networkId);
    answers.isSupportDevice = IsSurpportDevice(device.deviceTypeId);
    answers.isNextDevice = IsNextDevice(device);
    answers.isAccountAuth = KeyMouseRules::IsIdenticalAccount(device);
    return answers;
}

bool KeyMouseServiceManager::IsEligible(const char* operation, const DmDeviceInfo& device) {
    const PeerAnswers answers = CheckPeer(device);
    CFWK_LOG_AS(INFO, LOG, operation,
        "deviceId: %{public}s, isSupportDevice: %{public}d, isNextDevice: %{public}d, isAccountAuth: %{public}d",
        PickerResult::StringToAnonymous(answers.udid), answers.isSupportDevice, answers.isNextDevice,
        answers.isAccountAuth);
    return answers.isSupportDevice && answers.isNextDevice && answers.isAccountAuth && CheckDeviceStatus(answers.udid);
}

std::vector<CrossingRule> KeyMouseServiceManager::ExplainCrossing(const std::string& device) {
    std::vector<DmDeviceInfo> devices;
    const bool hasDevices = GetTrustedDevices(__func__, devices);
    const auto peer = std::find_if(devices.begin(), devices.end(), [&](const DmDeviceInfo& other) {
        return other.networkId == device || CollaborationFwkServiceUtils::GetPeerDeviceUdid(other.networkId) == device;
    });
    const bool isTrusted = hasDevices && peer != devices.end();
    const PeerAnswers answers = isTrusted ? CheckPeer(*peer) : PeerAnswers{};
    return {{"bind requested", bindKeymouseServiceReq_, false},
        {"local switch on", CheckDeviceStatus(GetLocalDeviceUdid()), true},
        {"local device type supported", IsSurpportDevice(localDeviceType_), true}, {"peer trusted", isTrusted, true},
        {"peer device type supported", answers.isSupportDevice, true},
        {"peer system type supported", answers.isNextDevice, true},
        {"peer of the same account", answers.isAccountAuth, true},
        {"peer switch on", isTrusted && CheckDeviceStatus(answers.udid), true},
        {"companion installed", IsPeerDeskInstalled(), true}, {"service connected", isServiceConnected_, false},
        {"reconnect attempts left", KeyMouseRules::HasAttemptsLeft(connectCount_), false}};
}

void KeyMouseServiceManager::DecideByLocalSwitch() {
    StartOrStopKeyMouseService(CheckDeviceStatus(GetLocalDeviceUdid()));
}

void KeyMouseServiceManager::BindKeymouseServiceReq(bool bind) {
    bindKeymouseServiceReq_ = bind;
    DecideByLocalSwitch();
}

int32_t KeyMouseServiceManager::StartKeyMouseService() {
    isNeedStopKeyMouse_ = false;
    if (!IsPeerDeskInstalled()) {
        CFWK_LOGE(LOG, "PeerDesk is not installed.");
        return ResultCodes::SERVICE_NOT_CONNECTED;
    }
    ++connectCount_;
    const int32_t code = ConnectKeyMouseService();
    if (code != 0) {
        CFWK_LOGE(LOG, "Connect key mouse service failed.");
    }
    return code;
}

int32_t KeyMouseServiceManager::ConnectKeyMouseService() {
    Want want;
    want.SetParam(IS_SELF_START, false);
    want.SetElementName(GloableVariables::PEER_DESK_BUNDLE_NAME, KEY_MOUSE_SERVICE_ABILITY_NAME);
    const int32_t code = ExtensionManagerClient::GetInstance().ConnectServiceExtensionAbility(
        want, keyMouseServiceConnection_, nullptr, CURRENT_USER);
    CFWK_LOGI(LOG, "Connect Key mouse service ret:%{public}d", code);
    if (code != 0) {
        CFWK_LOGE(LOG, "Connect Key mouse service failed");
        return ResultCodes::SERVICE_NOT_CONNECTED;
    }
    return 0;
}

void KeyMouseServiceManager::StopKeyMouseService() {
    isNeedStopKeyMouse_ = true;
    const int32_t code = AbilityManagerClient::GetInstance()->DisconnectAbility(keyMouseServiceConnection_);
    CFWK_LOGI(LOG, "StopKeyMouseService ret = %{public}d ", code);
}

bool KeyMouseServiceManager::IsNeedStopKeyMouse() {
    return isNeedStopKeyMouse_;
}

void KeyMouseServiceManager::RetryConnectKeyMouseService() {
    CFWK_LOGE(LOG, "Retry connect key mouse service, connectCount_%{public}d", connectCount_.load());
    if (IsNeedStopKeyMouse()) {
        CFWK_LOGE(LOG, "KeyMouseService need stop");
        return;
    }
    const int32_t connectCount = connectCount_;
    if (!KeyMouseRules::HasAttemptsLeft(connectCount)) {
        CFWK_LOGE(LOG, "Retry connect key mouse service more than 3 times, connectCount_%{public}d", connectCount);
        return;
    }
    StartKeyMouseService();
}

void KeyMouseServiceManager::TryToPullKeyMouseServiceAsync() {
    CFWK_LOGI(LOG, "Enter.");
    TimeSource::GetInstance().SleepFor(PULL_DELAY);
    TryToPullKeyMouseService();
}

void KeyMouseServiceManager::TryToPullKeyMouseService() {
    CFWK_LOGI(LOG, "Enter.");
    std::vector<DmDeviceInfo> devices;
    if (!FetchTrustedDevices(__func__, devices)) {
        return;
    }
    const bool isSwitchOn = CheckDeviceStatus(GetLocalDeviceUdid());
    for (const DmDeviceInfo& device : devices) {
        if (!IsSurpportDevice(device.deviceTypeId)) {
            CFWK_LOGE(LOG, "Device type is not support, which id is %{public}u.", device.deviceTypeId);
            continue;
        }
        SetDeviceStatus(device.deviceId, true);
        const sptr<DeviceInfo> info =
            MakeSptr<DeviceInfo>(CollaborationFwkServiceUtils::GetPeerDeviceUdid(device.networkId), device.networkId,
                device.deviceName, device.deviceTypeId);
        if (!info) {
            CFWK_LOGE(LOG, "info is null");
            return;
        }
        DeviceProfileManager::GetInstance().SubscribeOnlineDevice(info);
    }
    StartOrStopKeyMouseService(isSwitchOn);
}

int32_t KeyMouseServiceManager::TryConnectKeyMouseService(const DeviceInfo& deviceInfo) {
    const std::string localUdid = GetLocalDeviceUdid();
    CFWK_LOGI(LOG,
        "local device: deviceId: %{public}s, deviceTypeId: %{public}u, remote device: deviceId: %{public}s, "
        "deviceTypeId: %{public}u",
        PickerResult::StringToAnonymous(localUdid), localDeviceType_.load(),
        PickerResult::StringToAnonymous(deviceInfo.GetDeviceUdid()), deviceInfo.GetDeviceType());
    return ConnectKeyMouseServiceTimer(CONNECT_DELAY_MS, deviceInfo.GetDeviceUdid(), localUdid);
}

int32_t KeyMouseServiceManager::ConnectKeyMouseServiceTimer(
    uint32_t delayMs, const std::string& remoteUdid, const std::string& localUdid) {
    const bool isPosted = AsynThreadPool::GetInstance()->AddAsynTask(
        [this, delayMs, remoteUdid, localUdid] { ConnectKeyMouseServiceAsync(delayMs, remoteUdid, localUdid); },
        KEY_MOUSE_TASK);
    CFWK_LOGI(LOG, "Add connect key mouse service async task result = %{public}d", isPosted);
    return isPosted ? 1 : 0;
}

void KeyMouseServiceManager::ConnectKeyMouseServiceAsync(
    uint32_t delayMs, const std::string& /*remoteUdid*/, const std::string& /*localUdid*/) {
    SleepMs(delayMs);
    DecideByLocalSwitch();
}

void KeyMouseServiceManager::StopKeyMouseServiceTimer(uint32_t delayMs) {
    stopTaskStarted_ = true;
    const bool isPosted = AsynThreadPool::GetInstance()->AddAsynTask(
        [this, delayMs] { StopKeyMouseServiceAsync(delayMs); }, KEY_MOUSE_TASK);
    if (!isPosted) {
        stopTaskStarted_ = false;
    }
    CFWK_LOGI(LOG, "add async result = %{public}d", isPosted);
}

void KeyMouseServiceManager::StopKeyMouseServiceAsync(uint32_t delayMs) {
    SleepMs(delayMs);
    DecideByLocalSwitch();
    stopTaskStarted_ = false;
}

void KeyMouseServiceManager::UpdateKeyMouseServiceBinder(int32_t userId, const sptr<IRemoteObject>& remoteObject) {
    bool isNew = false;
    {
        std::lock_guard lock(binderMutex_);
        isNew = binderMap_.insert_or_assign(userId, remoteObject).second;
    }
    if (!isNew) {
        CFWK_LOGI(LOG, "Update the binder value of the existing userId.");
    }
}

sptr<IRemoteObject> KeyMouseServiceManager::QueryKeyMouseServiceBinder(int32_t userId) {
    std::lock_guard lock(binderMutex_);
    const auto found = binderMap_.find(userId);
    if (found == binderMap_.end()) {
        return nullptr;
    }
    CFWK_LOGI(LOG, "Found keyMouseServiceBinder");
    return found->second;
}

void KeyMouseServiceManager::EraseKeyMouseServiceBinder(int32_t userId) {
    std::lock_guard lock(binderMutex_);
    binderMap_.erase(userId);
}

void KeyMouseServiceManager::SetServiceConnected(bool isConnected) {
    isServiceConnected_ = isConnected;
}

bool KeyMouseServiceManager::DisconnectKeyMouseService(int32_t userId) {
    const sptr<IRemoteObject> binder = QueryKeyMouseServiceBinder(userId);
    if (!binder) {
        CFWK_LOGE(LOG, "keyMouseServiceBinder is null");
        return false;
    }
    MessageParcel data;
    if (!data.WriteInterfaceToken(KEY_MOUSE_SERVICE_DESCRIPTOR)) {
        CFWK_LOGE(LOG, "WriteInterfaceToken failed");
        return false;
    }
    MessageParcel reply;
    MessageOption option(MessageOption::SYNCHRONOUS, WAIT_SECONDS);
    if (binder->SendRequest(DISCONNECT_CODE, data, reply, option) != 0) {
        CFWK_LOGE(LOG, "SendRequest failed");
        return false;
    }
    CFWK_LOGI(LOG, "reply ret: %{public}d", reply.ReadInt32());
    EraseKeyMouseServiceBinder(userId);
    return true;
}

}  // namespace ZYNE::CollaborationFwk
