#include "platform/host/data_share_utils.h"

#include "linux/datashare/share_limits.h"
#include "platform/datashare/settings_data.h"
#include "platform/system_ability/system_ability_ids.h"
#include "platform/system_ability/system_ability_manager_client.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr int WAIT_TIME_SECONDS = 2;

}  // namespace

int32_t DataShareUtils::QueryStringValue(const std::string& uri, const std::string& key, std::string& value) {
    const std::shared_ptr<DataShareHelper> helper = GetDataShareHelper(uri, SystemAbilityIds::DEVICE_PROFILE);
    if (!helper) {
        return Linux::SHARE_NOT_UP;
    }
    DataSharePredicates predicates;
    predicates.EqualTo(SettingsData::KEY_COLUMN, key);
    const std::shared_ptr<DataShareResultSet> found = helper->Query(Uri(uri), predicates, {SettingsData::VALUE_COLUMN});
    if (!found) {
        return Linux::SHARE_STORE_FAILED;
    }
    return found->GoToRow(0) == Linux::SHARE_OK ? found->GetString(0, value) : Linux::SHARE_NO_SUCH_ROW;
}

std::shared_ptr<DataShareHelper> DataShareUtils::GetDataShareHelper(const std::string& uri, int32_t systemAbilityId) {
    const sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    const sptr<IRemoteObject> token = manager ? manager->GetSystemAbility(systemAbilityId) : nullptr;
    return DataShareHelper::Creator(token, uri, "", WAIT_TIME_SECONDS);
}

}  // namespace ZYNE::CollaborationFwk
