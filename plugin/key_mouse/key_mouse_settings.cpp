// The crossing switches in the settings: reading, writing, observing, and their move from the table of all users into
// that of each user.
#include "platform/datashare/data_share_helper.h"
#include "platform/host/data_share_utils.h"
#include "platform/host/global_variables.h"
#include "platform/system_ability/system_ability_ids.h"
#include "plugin/key_mouse/key_mouse_rules.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

std::string GetUserSettingsUri(int32_t userId) {
    return KeyMouseServiceManager::SETTINGS_SECURE_URI + std::to_string(userId) + SettingsData::PROXY_QUERY;
}

Uri GetUserSwitchUri(int32_t userId) {
    return Uri(GetUserSettingsUri(userId) + "&key=" + KeyMouseServiceManager::KEY_MOUSE_SWITCH_STATUS_KEY);
}

std::shared_ptr<DataShareHelper> OpenUserSettings(int32_t userId) {
    return DataShareUtils::GetDataShareHelper(GetUserSettingsUri(userId), SystemAbilityIds::DEVICE_PROFILE);
}

}  // namespace

bool KeyMouseServiceManager::GetLocalSwitchStateFromSettings() {
    const std::string uri = GetUserSettingsUri(GetLocalAccountId());
    std::string value;
    const int32_t code = DataShareUtils::QueryStringValue(uri, KEY_MOUSE_SWITCH_STATUS_KEY, value);
    const bool isOn = code == 0 && KeyMouseRules::IsSwitchOn(value);
    localEdgeSwitchState_ = isOn;
    CFWK_LOGI(LOG, "local switch state: %{public}u, statusValue: %{public}s, res: %{public}d", isOn, value, code);
    return isOn;
}

bool KeyMouseServiceManager::UpdateSwitchStateToSettings(
    const std::string& baseUri, const std::string& key, const std::string& value) {
    CFWK_LOGI(LOG, "enter");
    const std::shared_ptr<DataShareHelper> helper =
        DataShareUtils::GetDataShareHelper(baseUri, SystemAbilityIds::DEVICE_PROFILE);
    if (!helper) {
        CFWK_LOGE(LOG, "GetStringValue, dataShareHelper nullptr.");
        return false;
    }
    // Appended also where the base has a user and a query already: the provider looks at the table's name and at the
    // predicates alone.
    const Uri uri(baseUri + std::to_string(GetLocalAccountId()) + SettingsData::PROXY_QUERY + "&&key=" + key);
    DataSharePredicates predicates;
    predicates.EqualTo(SETTINGS_DATA_FIELD_KEY, key);
    DataShareValuesBucket values;
    values.Put(SETTINGS_DATA_FIELD_KEY, key);
    values.Put(SETTINGS_DATA_FIELD_VAL, value);
    const int32_t updated = helper->Update(uri, predicates, values);
    helper->Release();
    CFWK_LOGI(LOG, "Finish UpdateSwitchStatus, Update status result: %{public}d, key: %{public}s, value: %{public}s",
        updated, key, value);
    return updated > 0;
}

void KeyMouseServiceManager::SwitchDataMigration() {
    std::string value;
    int32_t code =
        DataShareUtils::QueryStringValue(GloableVariables::SETTING_URI_PROXY, KEY_MOUSE_SWITCH_STATUS_KEY, value);
    CFWK_LOGI(LOG, "statusValue: %{public}s, res: %{public}d", value, code);
    if (const auto move = MoveSwitch(KEY_MOUSE_SWITCH_STATUS_KEY, value, switchDataMigrated_)) {
        CFWK_LOGI(LOG, "writeUserdataResult: %{public}d, writeDataResult: %{public}d", move->isCopied, move->isRetired);
    }
    std::string edgeValue;
    code = DataShareUtils::QueryStringValue(
        GloableVariables::SETTING_URI_PROXY, KEY_MOUSE_EDGE_SWITCH_STATUS_KEY, edgeValue);
    CFWK_LOGI(LOG, "edgeStatusValue: %{public}s, res: %{public}d", edgeValue, code);
    if (const auto move = MoveSwitch(KEY_MOUSE_EDGE_SWITCH_STATUS_KEY, edgeValue, edgeDataMigrated_)) {
        CFWK_LOGI(
            LOG, "writeUserEdgeResult: %{public}d, writeEdgeDataResult: %{public}d", move->isCopied, move->isRetired);
    }
}

std::optional<KeyMouseServiceManager::SwitchMove> KeyMouseServiceManager::MoveSwitch(
    const std::string& key, const std::string& value, std::atomic<bool>& isMigrated) {
    if (isMigrated || value.empty() || value == SWITCH_DATA_MIGRATION_INVALID) {
        return std::nullopt;
    }
    const bool isCopied = UpdateSwitchStateToSettings(SETTINGS_SECURE_URI, key, value);
    RetireSwitch(key, isMigrated);
    return SwitchMove{isCopied, isMigrated};
}

std::pair<bool, bool> KeyMouseServiceManager::RetireGlobalSwitches() {
    RetireSwitch(KEY_MOUSE_EDGE_SWITCH_STATUS_KEY, edgeDataMigrated_);
    RetireSwitch(KEY_MOUSE_SWITCH_STATUS_KEY, switchDataMigrated_);
    return {switchDataMigrated_, edgeDataMigrated_};
}

void KeyMouseServiceManager::RetireSwitch(const std::string& key, std::atomic<bool>& isMigrated) {
    if (!isMigrated && UpdateSwitchStateToSettings(SETTINGS_DATA_URI, key, SWITCH_DATA_MIGRATION_INVALID)) {
        isMigrated = true;
    }
}

void KeyMouseServiceManager::KeymouseRegisterObserver(int32_t userId) {
    const std::shared_ptr<DataShareHelper> helper = OpenUserSettings(userId);
    CFWK_LOGI(LOG, "dataShareHelper valid: %{public}u , dataObserver: %{public}u ", helper != nullptr,
        static_cast<bool>(dataShareObserver_));
    if (helper && dataShareObserver_) {
        helper->RegisterObserver(GetUserSwitchUri(userId), dataShareObserver_);
        helper->Release();
    }
}

void KeyMouseServiceManager::KeymouseUnregisterObserver(int32_t userId) {
    const std::shared_ptr<DataShareHelper> helper = OpenUserSettings(userId);
    CFWK_LOGI(LOG, "dataShareHelper valid: %{public}u , dataObserver: %{public}u ", helper != nullptr,
        static_cast<bool>(dataShareObserver_));
    if (helper && dataShareObserver_) {
        helper->UnregisterObserver(GetUserSwitchUri(userId), dataShareObserver_);
        helper->Release();
    }
}

}  // namespace ZYNE::CollaborationFwk
