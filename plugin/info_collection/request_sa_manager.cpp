// Requests to system abilities: finding, loading and asking them.
#include "plugin/info_collection/request_sa_manager.h"

#include <algorithm>

#include "platform/system_ability/system_ability_manager_client.h"
#include "plugin/info_collection/load_sa_callback.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr int WAIT_SECONDS = 8;
constexpr char VALUE[] = "value";

[[maybe_unused]] RequestSAManager* const g_builtAtLoad = RequestSAManager::GetInstance();

sptr<ISystemAbilityManager> GetSystemAbilityManager() {
    return SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
}

}  // namespace

RequestSAManager* RequestSAManager::GetInstance() {
    return &Singleton<RequestSAManager>::Get();
}

std::list<SaReqTask> RequestSAManager::GetReqTasks() {
    std::shared_lock lock(reqTasksMutex_);
    return reqTasks_;
}

bool RequestSAManager::LoadSystemAbility(int32_t systemAbilityId) {
    const sptr<ISystemAbilityManager> manager = GetSystemAbilityManager();
    if (!manager) {
        CFWK_LOGE(LOG, "SystemAbilityManagerClient GetSystemAbilityManager null");
        return false;
    }
    const sptr<ISystemAbilityLoadCallback> callback = MakeSptr<LoadSACallback>("");
    if (!callback) {
        CFWK_LOGE(LOG, "loadCallback is nullptr.");
        return true;
    }
    const int32_t result = manager->LoadSystemAbility(systemAbilityId, callback);
    CFWK_LOGI(LOG, "LoadSystemAbility ret:%{public}d", result);
    if (result != 0) {
        CFWK_LOGE(LOG, "LoadSystemAbility failed");
        return false;
    }
    return true;
}

sptr<IRemoteObject> RequestSAManager::CheckSystemAbility(int32_t systemAbilityId, SaReqTask& task) {
    const sptr<ISystemAbilityManager> manager = GetSystemAbilityManager();
    if (!manager) {
        CFWK_LOGE(LOG, "CheckSystemAbility samgr is nullptr");
        return nullptr;
    }
    sptr<IRemoteObject> remote = manager->CheckSystemAbility(systemAbilityId);
    std::unique_lock lock(reqTasksMutex_);
    if (!remote) {
        // A task is never forgotten: what was asked for once does not have its ability loaded again.
        if (std::find(reqTasks_.begin(), reqTasks_.end(), task) == reqTasks_.end()) {
            reqTasks_.push_back(task);
            // With the lock held, so that loads are asked for one after the other; the callback comes on another
            // thread.
            const bool isAccepted = LoadSystemAbility(systemAbilityId);
            CFWK_LOGE(LOG, "CheckSystemAbility LoadSystemAbility %{public}d", isAccepted);
        }
        CFWK_LOGE(LOG, "CheckSystemAbility is nullptr");
    }
    return remote;
}

int32_t RequestSAManager::RequestSaOnConfigInfo(SaReqTask& task, std::string& resultJson) {
    const auto [saId, cmdCode, descriptor, names] = task;
    const sptr<IRemoteObject> remote = CheckSystemAbility(saId, task);
    if (!remote) {
        CFWK_LOGI(LOG, "RequestSaOnConfigInfo CheckSystemAbility nullptr");
        return ResultCodes::NO_REMOTE;
    }
    CFWK_LOGI(LOG, "RequestSaOnConfigInfo CheckSystemAbility pass");
    MessageParcel data;
    if (!data.WriteInterfaceToken(descriptor)) {
        CFWK_LOGE(LOG, "RequestSaOnConfigInfo WriteInterfaceToken failed");
        return ResultCodes::TOKEN_NOT_WRITTEN;
    }
    if (!data.WriteStringVector(names)) {
        CFWK_LOGE(LOG, "WriteStrongParcelable failed");
        return ResultCodes::FIELD_NOT_WRITTEN;
    }
    MessageParcel reply;
    MessageOption option(MessageOption::SYNCHRONOUS, WAIT_SECONDS);
    const int32_t error = remote->SendRequest(static_cast<uint32_t>(cmdCode), data, reply, option);
    if (error != 0) {
        CFWK_LOGE(LOG, "failed to SendRequest, error: %{public}d", error);
        return ResultCodes::IPC_NOT_SENT;
    }
    resultJson = reply.ReadString();
    CFWK_LOGI(LOG, "RequestSaOnConfigInfo ReadString result %{public}s", resultJson);
    return 0;
}

std::string RequestSAManager::RequestSingleSaOnConfigInfo(DynamicInfoMapBySa info) {
    SaReqTask task(info.saId, info.cmdCodeId, info.saDescriptor, {info.infoName});
    std::string resultJson;
    if (RequestSaOnConfigInfo(task, resultJson) != 0) {
        return {};
    }
    Json::Value reply;
    if (!JsonUtils::StringToJsonInternal(resultJson, &reply) || !reply.isObject()) {
        CFWK_LOGE(LOG, "RequestSingleSaOnConfigInfo StringToJson failed");
        return {};
    }
    const Json::Value& item = reply[info.infoName];
    if (!item.isObject()) {
        return {};
    }
    const Json::Value& value = item[VALUE];
    std::string result = value.isBool() || value.isString() ? value.asString() : std::string();
    CFWK_LOGI(LOG, "RequestSaOnConfigInfo resultJson get value  %{public}s", result);
    return result;
}

}  // namespace ZYNE::CollaborationFwk
