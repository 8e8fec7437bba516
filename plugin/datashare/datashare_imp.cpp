#include "plugin/datashare/datashare_imp.h"

#include "platform/host/picker_result.h"
#include "platform/system_ability/system_ability_manager_client.h"
#include "plugin/datashare/data_share_register_observer.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::DATASHARE;

constexpr int WAIT_SECONDS = 2;
constexpr char NO_SECOND_URI[] = "";

}  // namespace

bool DataShareImp::CreateDataShareHelper(const std::string& uri, int32_t systemAbilityId) {
    CFWK_LOGI(LOG, "DataShareImp CreateDataShareHelper start");
    const sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (!manager) {
        CFWK_LOGE(LOG, "CreateDataShareHelper GetSystemAbilityManager get samgr failed.");
        return false;
    }
    const sptr<IRemoteObject> token = manager->GetSystemAbility(systemAbilityId);
    if (!token) {
        CFWK_LOGE(LOG, "CreateDataShareHelper GetSystemAbility service failed.");
        return false;
    }
    uri_ = uri;
    helper_ = DataShareHelper::Creator(token, uri, NO_SECOND_URI, WAIT_SECONDS);
    CFWK_LOGI(LOG, "DataShareImp CreateDataShareHelper for datashareUri:%{public}s done",
        PickerResult::StringToAnonymous(uri));
    return helper_ != nullptr;
}

void DataShareImp::RegisterObserver() {
    CFWK_LOGI(LOG, "DataShareImp datashare observer");
    helper_->RegisterObserverExt(Uri(uri_), std::make_shared<DataShareRegisterObserver>(), true);
    CFWK_LOGI(LOG, "DataShareImp RegisterObserverExt done");
}

void DataShareImp::NotifyDPChangedInfo(const std::string& data) {
    NotifyChange(DataShareObserver::ChangeType::UPDATE, data);
    CFWK_LOGI(LOG, "DataShareImp NotifyChangeExt done");
}

void DataShareImp::InsertDPChangedInfo(const std::string& key, const std::string& value) {
    DataShareValuesBucket bucket;
    bucket.Put(key, value);
    const int32_t result = helper_->Insert(Uri(uri_), bucket);
    CFWK_LOGI(LOG, "DataShareImp Insert done retVal: %{public}d", result);
    NotifyChange(DataShareObserver::ChangeType::INSERT, "{" + key + ":" + value + "}");
    CFWK_LOGI(LOG, "DataShareImp NotifyChangeExt done");
}

void DataShareImp::NotifyChange(DataShareObserver::ChangeType type, const std::string& data) {
    DataShareObserver::ChangeInfo changeInfo;
    changeInfo.changeType = type;
    changeInfo.uris = {Uri(uri_)};
    changeInfo.data = data.data();
    changeInfo.size = static_cast<uint32_t>(data.size());
    helper_->NotifyChangeExt(changeInfo);
}

}  // namespace ZYNE::CollaborationFwk
