// The screens of peers, and the lock that keeps this device's screen on.
#include "platform/device_manager/device_manager.h"
#include "platform/host/picker_result.h"
#include "platform/power/power_mgr_client.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr char RUNNING_LOCK_NAME[] = "runningLock";
constexpr int32_t LOCK_TIMEOUT_MS = 60000;

}  // namespace

int32_t KeyMouseServiceManager::RegisterDeviceScreenStatusCallback() {
    const int32_t code =
        DeviceManager::GetInstance().RegisterDeviceScreenStatusCallback(DEVICE_MANAGER_PKG_NAME, screenStatusCallback_);
    CFWK_LOGI(LOG, "RegisterDeviceScreenStatusCallback, ret: %{public}d.", code);
    return code;
}

int32_t KeyMouseServiceManager::UnRegisterDeviceScreenStatusCallback() {
    const int32_t code = DeviceManager::GetInstance().UnRegisterDeviceScreenStatusCallback(DEVICE_MANAGER_PKG_NAME);
    CFWK_LOGI(LOG, "UnRegisterDeviceScreenStatusCallback, ret: %{public}d.", code);
    return code;
}

int32_t KeyMouseServiceManager::GetDeviceScreenStatus(const std::string& networkId, int32_t& screenStatus) {
    int32_t status = 0;
    const int32_t code = DeviceManager::GetInstance().GetDeviceScreenStatus(DEVICE_MANAGER_PKG_NAME, networkId, status);
    CFWK_LOGI(LOG, "GetDeviceScreenStatus, networkId: %{public}s, screenStatus: %{public}d, ret: %{public}d.",
        PickerResult::StringToAnonymous(networkId), status, code);
    if (code != 0) {
        return ResultCodes::INVALID_PARAMETER;
    }
    screenStatus = status;
    return 0;
}

// Both hold the lock throughout: a lock and an unlock that follow one another reach the power manager in that order.
int32_t KeyMouseServiceManager::ScreenPowerLock() {
    std::lock_guard lock(runningLockMutex_);
    CFWK_LOGI(LOG, "lock in");
    if (!runningLock_) {
        runningLock_ = PowerMgrClient::GetInstance().CreateRunningLock(RUNNING_LOCK_NAME, RunningLockType::SCREEN);
    }
    if (!runningLock_) {
        CFWK_LOGI(LOG, "create runningLock failed.");
        return ResultCodes::NO_RUNNING_LOCK;
    }
    const int32_t code = runningLock_->Lock(LOCK_TIMEOUT_MS);
    CFWK_LOGI(LOG, "lock errorcode:%{public}d.", code);
    return code;
}

int32_t KeyMouseServiceManager::ScreenPowerUnLock() {
    std::lock_guard lock(runningLockMutex_);
    CFWK_LOGI(LOG, "unlock in");
    if (!runningLock_) {
        CFWK_LOGI(LOG, "runninglock is null");
        return ResultCodes::NO_RUNNING_LOCK;
    }
    const int32_t code = runningLock_->UnLock();
    CFWK_LOGI(LOG, "unlock errorcode:%{public}d", code);
    return code;
}

}  // namespace ZYNE::CollaborationFwk
