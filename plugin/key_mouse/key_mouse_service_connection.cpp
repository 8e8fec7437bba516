#include "plugin/key_mouse/key_mouse_service_connection.h"

#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

void KeyMouseServiceConnection::OnAbilityConnectDone(
    const ElementName& element, const sptr<IRemoteObject>& remoteObject, int resultCode) {
    CFWK_LOGI(LOG,
        "OnAbilityConnectDone, bundleName:%{public}s, abilityName:%{public}s,         reusultCode:%{public}d",
        element.GetBundleName(), element.GetAbilityName(), resultCode);
    const KeyMouseServiceManager::ForegroundAccount account = KeyMouseServiceManager::QueryForegroundAccount();
    CFWK_LOGI(LOG, "GetForegroundOsAccountLocalId ret = %{public}d, currentLocalId = %{public}d", account.code,
        account.userId);
    KeyMouseServiceManager& manager = KeyMouseServiceManager::GetInstance();
    manager.UpdateKeyMouseServiceBinder(account.userId, remoteObject);
    manager.SetServiceConnected(static_cast<bool>(remoteObject));
}

void KeyMouseServiceConnection::OnAbilityDisconnectDone(const ElementName& element, int resultCode) {
    CFWK_LOGI(LOG,
        "OnAbilityDisconnectDone, bundleName:%{public}s, abilityName:%{public}s,         reusultCode:%{public}d",
        element.GetBundleName(), element.GetAbilityName(), resultCode);
    KeyMouseServiceManager& manager = KeyMouseServiceManager::GetInstance();
    manager.SetServiceConnected(false);
    manager.ScreenPowerUnLock();
    manager.RetryConnectKeyMouseService();
}

}  // namespace ZYNE::CollaborationFwk
