#include "plugin/info_collection/load_sa_callback.h"

#include "plugin/info_collection/request_sa_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

void LoadSACallback::OnLoadSystemAbilitySuccess(int32_t systemAbilityId, const sptr<IRemoteObject>& remoteObject) {
    CFWK_LOGI(LOG, "load SA success, systemAbilityId:%{public}d, remoteObject result:%{public}s", systemAbilityId,
        remoteObject ? "true" : "false");
    if (!remoteObject) {
        CFWK_LOGE(LOG, "OnLoadSystemAbilitySuccess remoteObject is nullptr");
        return;
    }
    RequestSAManager* manager = RequestSAManager::GetInstance();
    for (SaReqTask& task : manager->GetReqTasks()) {
        if (std::get<0>(task) != systemAbilityId) {
            continue;
        }
        std::string result;
        const int32_t code = manager->RequestSaOnConfigInfo(task, result);
        CFWK_LOGI(LOG, "OnLoadSaSuccess for sa:%{public}d result:%{public}d, resultJson%{public}s", systemAbilityId,
            code, result);
    }
}

void LoadSACallback::OnLoadSystemAbilityFail(int32_t /*systemAbilityId*/) {
    CFWK_LOGE(LOG, "OnLoadSystemAbilityFail load SA failed");
}

}  // namespace ZYNE::CollaborationFwk
