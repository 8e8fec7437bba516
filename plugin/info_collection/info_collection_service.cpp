#include "plugin/info_collection/info_collection_service.h"

#include <chrono>

#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/global_variables.h"
#include "platform/host/picker_result.h"
#include "platform/time/time_source.h"
#include "plugin/info_collection/info_collection_process.h"
#include "plugin/utils/log.h"
#include "plugin/utils/result_codes.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr std::chrono::seconds ANSWER_TIMEOUT{5};
constexpr int32_t BUSINESS_TYPE = 3;
constexpr int32_t PRIORITY = 1;

[[maybe_unused]] const auto& g_builtAtLoad = InfoCollectionService::GetInstance();

// Null when memory is out.
std::shared_ptr<ServiceInfo> MakeRequest(
    uint32_t id, const std::string& callerString, const std::vector<std::string>& keys) {
    InfoCollectionProcess* process = InfoCollectionProcess::GetInstance();
    if (process == nullptr) {
        return nullptr;
    }
    auto request = std::make_shared<ServiceInfo>();
    request->businessType = BUSINESS_TYPE;
    request->priority = PRIORITY;
    request->collaborationIdStr = process->UIntToElevenLengthString(id) + "-" + callerString;
    request->commandProp = process->GenerateInfoCollectionReqCommand(keys);
    return request;
}

}  // namespace

InfoCollectionService& InfoCollectionService::GetInstance() {
    return Singleton<InfoCollectionService>::Get();
}

InfoCollectionService::InfoCollectionService() {
    CFWK_LOGI(LOG, "create InfoCollectionService");
}

InfoCollectionService::~InfoCollectionService() {
    collaborationIds_.clear();
    dynamicInfoResults_.clear();
}

int32_t InfoCollectionService::GetRemoteDeviceDynamicInfo(DeviceInfo& device, const std::string& callerString,
    const std::vector<std::string>& keys, std::vector<DeviceDynamicInfo>& result) {
    const uint32_t id = CollaborationFwkServiceUtils::ObtainIdleCollaborationId();
    AddCollaborationId(id);
    const std::shared_ptr<ServiceInfo> request = MakeRequest(id, callerString, keys);
    if (request == nullptr) {
        return ResultCodes::NOT_SENT;
    }
    CFWK_LOGI(LOG, "collaborationIdStr: %{public}s", PickerResult::StringToAnonymous(request->collaborationIdStr));
    CFWK_LOGI(LOG, "commandPropStr: %{public}s", request->commandProp);
    const SessionManager::Session session = SessionManager::GetInstance()->CollaborationToDeviceByCtrlSession(
        device.GetDeviceNetworkId(), callerString, request, GloableVariables::SESSION_NAME);
    if (session.code != 0) {
        CFWK_LOGE(LOG,
            "CollaborationToDevice failed, errorCode: %{public}d,             collaborationSessionId: %{public}d",
            session.code, session.collaborationSessionId);
        return ResultCodes::NOT_SENT;  // the id stays taken
    }
    if (!WaitForAnswer(id)) {
        CFWK_LOGE(LOG, "infoRes result is empty, collaborationId: %{public}d", id);
        EraseCollaborationId(id);
        return ResultCodes::NO_ANSWER;
    }
    if (!TakeAnswer(id, keys, result)) {
        CFWK_LOGE(LOG, "infoRes result is not valid");
        EraseCollaborationId(id);
        return ResultCodes::ANSWER_MISMATCH;
    }
    EraseCollaborationId(id);
    CFWK_LOGI(LOG,
        "infoRes result receive success, collaborationId: %{public}d,         collaborationSessionId: %{public}d", id,
        session.collaborationSessionId);
    return 0;
}

void InfoCollectionService::AddCollaborationId(uint32_t id) {
    DropAnswer(id);  // one that came for an earlier request with this id, after that had failed
    std::unique_lock lock(idMutex_);
    collaborationIds_.insert(id);
}

bool InfoCollectionService::WaitForAnswer(uint32_t id) {
    TimeSource& time = TimeSource::GetInstance();
    std::unique_lock lock(mutex_);
    const TimeSource::TimePoint deadline = time.Now() + ANSWER_TIMEOUT;
    while (!dynamicInfoResults_.contains(id) && time.Now() < deadline) {
        time.WaitUntil(cv_, lock, deadline);
    }
    return dynamicInfoResults_.contains(id);
}

bool InfoCollectionService::TakeAnswer(
    uint32_t id, const std::vector<std::string>& keys, std::vector<DeviceDynamicInfo>& result) {
    // One hold for both: a second answer must not come in between test and use.
    std::shared_lock lock(resultMutex_);
    const Answer* answer = FindAnswer(id);
    if (!IsValidDynamicInfoResult(id, keys, answer)) {
        return false;
    }
    for (const auto& [name, value] : *answer) {
        result.emplace_back(name, value);
    }
    return true;
}

const InfoCollectionService::Answer* InfoCollectionService::FindAnswer(uint32_t id) const {
    const auto found = dynamicInfoResults_.find(id);
    return found != dynamicInfoResults_.end() ? found->second.get() : nullptr;
}

bool InfoCollectionService::IsValidDynamicInfoResult(uint32_t id, const std::vector<std::string>& keys) {
    std::shared_lock lock(resultMutex_);
    return IsValidDynamicInfoResult(id, keys, FindAnswer(id));
}

bool InfoCollectionService::IsValidDynamicInfoResult(
    uint32_t id, const std::vector<std::string>& keys, const Answer* answer) {
    if (answer == nullptr) {
        CFWK_LOGE(LOG, "cannot find collaborationId:%{public}d in ResultList", id);
        return false;
    }
    if (answer->size() != keys.size()) {
        CFWK_LOGE(LOG, "infoResultSize is not the same as keyListSize");
        return false;
    }
    for (const std::string& key : keys) {
        if (!answer->contains(key)) {
            CFWK_LOGE(LOG, "cannot find the same key %{public}s in infoRes", key);
            return false;
        }
    }
    return true;
}

void InfoCollectionService::EraseCollaborationId(uint32_t id) {
    {
        std::unique_lock lock(idMutex_);
        collaborationIds_.erase(id);
    }
    DropAnswer(id);
}

void InfoCollectionService::DropAnswer(uint32_t id) {
    std::lock_guard lock(mutex_);
    std::unique_lock resultLock(resultMutex_);
    dynamicInfoResults_.erase(id);
}

int32_t InfoCollectionService::SetDynamicInfo(uint32_t id, std::unordered_map<std::string, std::string>& info) {
    CFWK_LOGI(LOG, "SetDynamicInfo, collaborationId: %{public}d", id);
    if (!IsCollaborationIdExist(id) || !StoreAnswer(id, std::make_shared<Answer>(info))) {
        CFWK_LOGE(LOG, "SetDynamicInfo failed");
        return ResultCodes::UNKNOWN_REQUEST;
    }
    return 0;
}

bool InfoCollectionService::StoreAnswer(uint32_t id, const std::shared_ptr<Answer>& answer) {
    {
        std::lock_guard lock(mutex_);
        std::unique_lock resultLock(resultMutex_);
        dynamicInfoResults_[id] = answer;
    }
    cv_.notify_all();
    // The requester may have given up between our look at the id and the store: take the answer back, or it would wait
    // for whoever is given this id next. If it is not there any more, the requester has had it.
    return IsCollaborationIdExist(id) || !TakeBackAnswer(id, answer);
}

bool InfoCollectionService::TakeBackAnswer(uint32_t id, const std::shared_ptr<Answer>& answer) {
    std::lock_guard lock(mutex_);
    std::unique_lock resultLock(resultMutex_);
    const auto found = dynamicInfoResults_.find(id);
    if (found == dynamicInfoResults_.end() || found->second != answer) {
        return false;
    }
    dynamicInfoResults_.erase(found);
    return true;
}

bool InfoCollectionService::IsCollaborationIdExist(uint32_t id) {
    std::shared_lock lock(idMutex_);
    return collaborationIds_.contains(id);
}

}  // namespace ZYNE::CollaborationFwk
