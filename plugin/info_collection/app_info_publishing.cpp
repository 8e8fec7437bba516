// What apps offer, on its way to peers.
#include "platform/host/picker_result.h"
#include "platform/system_ability/system_ability_ids.h"
#include "plugin/datashare/datashare_manager.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "plugin/info_collection/app_info_collection.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

void AppInfoCollection::GetInfoAndPutToDpOnStart() {
    CFWK_LOGI(LOG, "AppInfoCollection init done");
    Json::Value profileObj = GetDeviceDynamicInfos();
    CFWK_LOGI(LOG, "AppInfoCollection GetDeviceDynamicInfos done");
    if (profileObj.isNull()) {
        CFWK_LOGI(LOG, "profileObj null, skip write into DP");
        return;
    }
    const int32_t code = DeviceProfileManager::GetInstance().PutInfoCollectionWithJson(profileObj);
    if (code != 0) {
        CFWK_LOGE(LOG, "PutInfoCollectionWithJson failed ret:%{public}d", code);
    }
    CFWK_LOGI(LOG, "profileObj write into DP and push to remote devices");
}

void AppInfoCollection::InitDataShareManager() {
    DataShareManager& dataShare = DataShareManager::GetInstance();
    for (const auto& [name, record] : GetDynamicMap()) {
        const std::string maskedUri = PickerResult::StringToAnonymous(record.dataShareUri);
        CFWK_LOGI(
            LOG, "dynamic key:%{public}s,info:%{public}s,dataShareUri:%{public}s", name, record.infoName, maskedUri);
        if (!dataShare.CreateDataShareHelper(record.dataShareUri, SystemAbilityIds::DEVICE_PROFILE)) {
            CFWK_LOGE(LOG, "InitDataShareManager fail for %{public}s", maskedUri);
            continue;
        }
        dataShare.RegisterObserver(record.dataShareUri);
        CFWK_LOGI(LOG, "InitDataShareManager RegisterObserver for %{public}s", maskedUri);
    }
}

}  // namespace ZYNE::CollaborationFwk
