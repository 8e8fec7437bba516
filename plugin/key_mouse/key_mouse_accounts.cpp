// The foreground user, and the event that tells that the settings can be used.
#include "platform/account/os_account_manager.h"
#include "platform/event/common_event_manager.h"
#include "platform/host/picker_result.h"
#include "plugin/key_mouse/key_mouse_event_subscriber.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr int32_t DATA_SHARE_UID = 3012;  // the user that the settings database runs as
constexpr int32_t DEFAULT_USER = 100;

}  // namespace

bool KeyMouseServiceManager::SubscribeCommonEvent() {
    CFWK_LOGI(LOG, "Enter.");
    MatchingSkills skills;
    skills.AddEvent(KeyMouseEventSubscriber::DATA_SHARE_READY);
    CommonEventSubscribeInfo info(skills);
    info.SetPublisherUid(DATA_SHARE_UID);
    const bool isSubscribed = CommonEventManager::SubscribeCommonEvent(std::make_shared<KeyMouseEventSubscriber>(info));
    CFWK_LOGI(LOG, "SubscribeCommonEvent, ret = %{public}d", isSubscribed);
    return isSubscribed;
}

void KeyMouseServiceManager::OnDataShareReady() {
    CFWK_LOGI(LOG, "Enter.");
    SwitchDataMigration();
    GetLocalSwitchStateFromSettings();
    dbReady_ = true;
    CheckLocalSwitchState();
    KeymouseRegisterObserver(GetLocalAccountId());
}

int32_t KeyMouseServiceManager::GetLocalAccountId() {
    CFWK_LOGI(LOG, "enter");
    const ForegroundAccount account = QueryForegroundAccount();
    CFWK_LOGI(LOG, "GetForegroundOsAccountLocalId ret = %{public}d, currentLocalId = %{public}d", account.code,
        account.userId);
    return account.userId;
}

KeyMouseServiceManager::ForegroundAccount KeyMouseServiceManager::QueryForegroundAccount() {
    int32_t userId = DEFAULT_USER;
    const int32_t code = OsAccountManager::GetForegroundOsAccountLocalId(userId);
    return {code, code == 0 ? userId : DEFAULT_USER};
}

void KeyMouseServiceManager::OnEventUserSwitched() {
    CFWK_LOGI(LOG, "enter");
    const int32_t newUserId = GetLocalAccountId();
    const int32_t oldUserId = currentUserId_;
    if (oldUserId != NO_USER) {
        KeymouseUnregisterObserver(oldUserId);
        KeymouseRegisterObserver(newUserId);
        DisconnectKeyMouseService(oldUserId);
        StopKeyMouseService();
    }
    currentUserId_ = newUserId;
    auto type = OsAccountType::NORMAL;
    if (OsAccountManager::GetOsAccountType(newUserId, type) == 0 && type == OsAccountType::PRIVATE) {
        CFWK_LOGI(LOG, "OsAccountType is PRIVATE");
        const bool isWritten =
            UpdateSwitchStateToSettings(SETTINGS_SECURE_URI + std::to_string(newUserId) + SettingsData::PROXY_QUERY,
                KEY_MOUSE_SWITCH_STATUS_KEY, KEY_MOUSE_SWITCH_OFF);
        CFWK_LOGI(LOG, "UpdateEdgeSwitchState: deviceId: %{public}s, ServiceName: %{public}s, result: %{public}d",
            PickerResult::StringToAnonymous(GetLocalDeviceUdid()), KEY_MOUSE_EDGE_SERVICE_ID, isWritten);
    }
    CheckLocalSwitchState();
}

}  // namespace ZYNE::CollaborationFwk
