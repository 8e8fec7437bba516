#include "plugin/datashare/data_share_register_observer.h"

#include <string>

#include "plugin/device_profile/device_profile_manager.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::DATASHARE;
constexpr LogDomain PARSE_LOG = LogDomains::COLLECTION;

}  // namespace

void DataShareRegisterObserver::OnChange(const ChangeInfo& changeInfo) {
    CFWK_LOGI(LOG, "DataShareRegisterObserver observer onchange");
    CFWK_LOGI(LOG, "changeType:%{public}ud, num of uris:%{public}zu, data is nullptr:%{public}d, size:%{public}ud",
        changeInfo.changeType, changeInfo.uris.size(), changeInfo.data == nullptr, changeInfo.size);
    if (changeInfo.data == nullptr) {
        return;
    }
    const std::string data(static_cast<const char*>(changeInfo.data), changeInfo.size);
    CFWK_LOGI(LOG, "Check data change: %{public}s, size:%{public}ud", data, changeInfo.size);
    Json::Value value;
    if (!JsonUtils::StringToJsonInternal(data, &value)) {
        CFWK_LOGE(PARSE_LOG, "DataShareRegisterObserver StringToJson failed");
        return;
    }
    DeviceProfileManager::GetInstance().PutInfoCollectionWithJson(value);
    CFWK_LOGI(LOG, "DataShareRegisterObserver write into DP and push to remote devices done");
}

}  // namespace ZYNE::CollaborationFwk
