#include "plugin/info_collection/info_collection_command.h"

#include <json/json.h>

#include "platform/host/asyn_thread_pool.h"
#include "platform/host/session_manager.h"
#include "plugin/info_collection/info_collection_manager.h"
#include "plugin/info_collection/info_collection_process.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr int32_t INFO_COLLECTION_TASK = 2;

}  // namespace

InfoCollectionCommand::InfoCollectionCommand(const std::vector<std::string>& infoNames) : infoNames_(infoNames) {}

int32_t InfoCollectionCommand::Execute(int collaborationSessionId) {
    CFWK_LOGI(LOG, "executeInfoCollect, collaborationSessionId:%{public}d, infoSize:%{public}zu",
        collaborationSessionId, infoNames_.size());
    for (const std::string& name : infoNames_) {
        CFWK_LOGI(LOG, "executeInfoCollect, infoName:%{public}s", name);
    }
    collaborationSessionId_ = collaborationSessionId;
    const bool isAdded = AsynThreadPool::GetInstance()->AddAsynTask(
        [weak = weak_from_this()] { GetInfoAndResponse(weak); }, INFO_COLLECTION_TASK);
    CFWK_LOGI(LOG, "add async result = %{public}d", isAdded);
    if (!isAdded) {
        CFWK_LOGE(LOG, "AddAsynTask failed, collaborationSessionId: %{public}d", collaborationSessionId);
        return ResultCodes::TASK_NOT_POSTED;
    }
    return 0;
}

int32_t InfoCollectionCommand::Release(uint32_t /*reason*/) {
    CFWK_LOGI(LOG, "InfoCollectionCommand Release");
    return 0;
}

bool InfoCollectionCommand::AuthenticationCheck(std::string /*peer*/) {
    return true;
}

void InfoCollectionCommand::GetInfoAndResponse(const std::weak_ptr<InfoCollectionCommand>& command) {
    const std::shared_ptr<InfoCollectionCommand> alive = command.lock();
    if (alive == nullptr) {
        CFWK_LOGE(LOG, "info is nullptr");
        return;
    }
    alive->GetInfoAndResponse();
}

void InfoCollectionCommand::GetInfoAndResponse() {
    std::lock_guard lock(runMutex_);
    CFWK_LOGI(
        LOG, "GetLocalDeviceDynamicInfo begin, collaborationSessionId:%{public}d", collaborationSessionId_.load());
    InfoCollectionManager::GetInstance()->GetLocalDeviceDynamicInfo(infoNames_, infoRes_);
    CFWK_LOGI(LOG, "GetLocalDeviceDynamicInfo end, collaborationSessionId:%{public}d", collaborationSessionId_.load());
    const int32_t code = ResponseInfoCollecRes();
    if (code != 0) {
        CFWK_LOGE(LOG,
            "GetInfoAndResponse failed, errorCode: %{public}d,             collaborationSessionId: %{public}d", code,
            collaborationSessionId_.load());
        return;
    }
    CFWK_LOGI(LOG, "GetInfoAndResponse success");
}

int32_t InfoCollectionCommand::ResponseInfoCollecRes() {
    CFWK_LOGI(LOG, "ResponseInfoCollecRes begin");
    if (infoRes_.empty()) {
        CFWK_LOGE(LOG, "infoRes result is empty, collaborationSessionId: %{public}d", collaborationSessionId_.load());
        return ResultCodes::NO_ANSWER;
    }
    Json::Value response;
    for (const auto& [name, value] : infoRes_) {
        response[name] = value;
    }
    const std::string text = JsonUtils::ToStyledString(response);
    CFWK_LOGI(LOG, "ResponseInfoCollecRes desData:%{public}s", text);
    return SessionManager::GetInstance()->TransmitMsg(collaborationSessionId_, text.data(),
        static_cast<uint32_t>(text.size()), InfoCollectionProcess::CTRL_CHANNEL_EVENT_TYPE, false);
}

}  // namespace ZYNE::CollaborationFwk
