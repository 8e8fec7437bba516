#include "plugin/datashare/oobe_status_dependency.h"

#include "platform/datashare/settings_data.h"
#include "platform/host/data_share_utils.h"
#include "platform/host/global_variables.h"
#include "platform/system_ability/system_ability_ids.h"
#include "platform/system_ability/system_ability_manager_client.h"
#include "plugin/datashare/setup_conditions.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::DEVICE_DETECT;

constexpr char NO[] = "0";
constexpr char YES[] = "1";
constexpr char NO_SECOND_URI[] = "";
constexpr int WAIT_SECONDS = 2;

struct CloseResultSet {
    void operator()(DataShareResultSet* resultSet) const { resultSet->Close(); }
};

}  // namespace

OobeStatusDependency& OobeStatusDependency::GetInstance() {
    return Singleton<OobeStatusDependency>::Get();
}

bool OobeStatusDependency::IsOobeReady() {
    std::lock_guard lock(mutex_);
    if (oobeStatus_.empty() || oobeStatus_ == NO) {
        CFWK_LOGI(LOG, "start query oobe status from dataShare");
        bool isReady = true;
        for (const SetupCondition& condition : SETUP_CONDITIONS) {
            const bool holds = condition.Holds(GetOobeStatus(condition.setting));
            isReady = isReady && holds;
        }
        oobeStatus_ = isReady ? YES : NO;
    }
    return oobeStatus_ == YES;
}

std::vector<SetupFinding> OobeStatusDependency::ExplainSetup() {
    std::vector<SetupFinding> findings;
    for (const SetupCondition& condition : SETUP_CONDITIONS) {
        std::string value;
        const int32_t code =
            DataShareUtils::QueryStringValue(GloableVariables::SETTING_URI_PROXY, condition.setting, value);
        if (code != 0) {
            value.clear();
        }
        findings.push_back({condition.setting, code, value, !condition.Holds(value)});
    }
    return findings;
}

std::string OobeStatusDependency::GetOobeStatus(const std::string& key) {
    return GetOobeStatusByUri(key, GloableVariables::SETTING_URI_PROXY);
}

std::string OobeStatusDependency::GetOobeStatusByUri(const std::string& key, const std::string& uri) {
    if (!dataShareHelper_) {
        CFWK_LOGI(LOG, "dataShareHelper is null, init");
        dataShareHelper_ = GetDataShareHelper(uri, SystemAbilityIds::DEVICE_PROFILE);
    }
    if (!dataShareHelper_) {
        CFWK_LOGE(LOG, "dataShareHelper is null, key is %{public}s", key);
        return {};
    }
    DataSharePredicates predicates;
    predicates.EqualTo(SettingsData::KEY_COLUMN, key);
    const std::shared_ptr<DataShareResultSet> resultSet =
        dataShareHelper_->Query(Uri(uri), predicates, {SettingsData::VALUE_COLUMN});
    const std::unique_ptr<DataShareResultSet, CloseResultSet> closeAtTheEnd(resultSet.get());
    int numRows = 0;
    if (!resultSet || resultSet->GetRowCount(numRows) != 0 || numRows == 0) {
        CFWK_LOGE(LOG, "get oobe status, numRows is zero with key is %{public}s", key);
        return {};
    }
    std::string value;
    if (resultSet->GoToRow(0) != 0 || resultSet->GetString(0, value) != 0) {
        CFWK_LOGE(LOG, "get oobe status, resultSet->GetString not ok with key is %{public}s", key);
        return {};
    }
    CFWK_LOGI(LOG, "GetStringValue, setting value is %{public}s with key is %{public}s", value, key);
    return value;
}

std::shared_ptr<DataShareHelper> OobeStatusDependency::GetDataShareHelper(
    const std::string& uri, int32_t systemAbilityId) {
    CFWK_LOGI(LOG, "create DataShareHelper instance");
    const sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (!manager) {
        CFWK_LOGE(LOG, "CreateDataShareHelper, GetSystemAbilityManager return nullptr");
        return nullptr;
    }
    const sptr<IRemoteObject> token = manager->GetSystemAbility(systemAbilityId);
    if (!token) {
        CFWK_LOGE(LOG,
            "CreateDataShareHelper GetSystemAbility return nullptr,             systemAbilityId = %{public}d",
            systemAbilityId);
        return nullptr;
    }
    return DataShareHelper::Creator(token, uri, NO_SECOND_URI, WAIT_SECONDS);
}

}  // namespace ZYNE::CollaborationFwk
