// The crossing switches in the settings: reading, writing, observing, and their move from the table of all users into
// that of each user.
#include "platform/datashare/data_share_helper.h"
#include "platform/host/data_share_utils.h"
#include "platform/host/global_variables.h"
#include "plugin/key_mouse/key_mouse_rules.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"
#include "plugin/utils/log.h"
#include "plugin/utils/system_ability_ids.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr char PROXY_QUERY[] = "?Proxy=true";

std::string GetUserSettingsUri(int32_t userId) {
    return KeyMouseServiceManager::SETTINGS_SECURE_URI + std::to_string(userId) + PROXY_QUERY;
}

}  // namespace

struct KeyMouseServiceManager::GlobalSwitch {
    const char* key;
    const char* valueLabel;
    const char* userLabel;
    const char* globalLabel;
};

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
    const Uri uri(baseUri + std::to_string(GetLocalAccountId()) + PROXY_QUERY + "&&key=" + key);
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
    MigrateSwitch(
        {KEY_MOUSE_SWITCH_STATUS_KEY, "statusValue", "writeUserdataResult", "writeDataResult"}, switchDataMigrated_);
    MigrateSwitch({KEY_MOUSE_EDGE_SWITCH_STATUS_KEY, "edgeStatusValue", "writeUserEdgeResult", "writeEdgeDataResult"},
        edgeDataMigrated_);
}

void KeyMouseServiceManager::MigrateSwitch(const GlobalSwitch& globalSwitch, std::atomic<bool>& isMigrated) {
    std::string value;
    const int32_t code = DataShareUtils::QueryStringValue(GloableVariables::SETTING_URI_PROXY, globalSwitch.key, value);
    CFWK_LOGI(LOG, "%{public}s: %{public}s, res: %{public}d", globalSwitch.valueLabel, value, code);
    if (isMigrated || value.empty() || value == SWITCH_DATA_MIGRATION_INVALID) {
        return;
    }
    const bool isCopied = UpdateSwitchStateToSettings(SETTINGS_SECURE_URI, globalSwitch.key, value);
    const bool isRetired =
        UpdateSwitchStateToSettings(SETTINGS_DATA_URI, globalSwitch.key, SWITCH_DATA_MIGRATION_INVALID);
    if (isRetired) {
        isMigrated = true;
    }
    CFWK_LOGI(LOG, "%{public}s: %{public}d, %{public}s: %{public}d", globalSwitch.userLabel, isCopied,
        globalSwitch.globalLabel, isRetired);
}

void KeyMouseServiceManager::RetireGlobalSwitches() {
    RetireSwitch(KEY_MOUSE_EDGE_SWITCH_STATUS_KEY, edgeDataMigrated_);
    RetireSwitch(KEY_MOUSE_SWITCH_STATUS_KEY, switchDataMigrated_);
    CFWK_LOGI(LOG, "mainDataMigrationDone: %{public}d, dataMigrationNotDone: %{public}d", switchDataMigrated_.load(),
        edgeDataMigrated_.load());
}

void KeyMouseServiceManager::RetireSwitch(const std::string& key, std::atomic<bool>& isMigrated) {
    if (!isMigrated && UpdateSwitchStateToSettings(SETTINGS_DATA_URI, key, SWITCH_DATA_MIGRATION_INVALID)) {
        isMigrated = true;
    }
}

void KeyMouseServiceManager::KeymouseRegisterObserver(int32_t userId) {
    ChangeObserver(userId, &DataShareHelper::RegisterObserver);
}

void KeyMouseServiceManager::KeymouseUnregisterObserver(int32_t userId) {
    ChangeObserver(userId, &DataShareHelper::UnregisterObserver);
}

void KeyMouseServiceManager::ChangeObserver(int32_t userId, ObserverOperation operation) {
    const std::string uri = GetUserSettingsUri(userId);
    const std::shared_ptr<DataShareHelper> helper =
        DataShareUtils::GetDataShareHelper(uri, SystemAbilityIds::DEVICE_PROFILE);
    CFWK_LOGI(LOG, "dataShareHelper valid: %{public}u , dataObserver: %{public}u ", helper != nullptr,
        static_cast<bool>(dataShareObserver_));
    if (helper && dataShareObserver_) {
        (helper.get()->*operation)(Uri(uri + "&key=" + KEY_MOUSE_SWITCH_STATUS_KEY), dataShareObserver_);
        helper->Release();
    }
}

}  // namespace ZYNE::CollaborationFwk
