#include "plugin/datashare/datashare_manager.h"

#include <mutex>

#include "platform/host/picker_result.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::DATASHARE;

}  // namespace

DataShareManager& DataShareManager::GetInstance() {
    return Singleton<DataShareManager>::Get();
}

bool DataShareManager::CreateDataShareHelper(const std::string& uri, int32_t systemAbilityId) {
    // Held to the end: who comes meanwhile for the same URI takes the helper that is being made. The port neither calls
    // observers inline nor waits for them.
    std::unique_lock lock(mutex_);
    const std::string maskedUri = PickerResult::StringToAnonymous(uri);
    if (helpers_.contains(uri)) {
        CFWK_LOGI(LOG, "helper exists for uri:%{public}s", maskedUri);
        return true;
    }
    auto helper = std::make_shared<DataShareImp>();
    if (!helper->CreateDataShareHelper(uri, systemAbilityId)) {
        CFWK_LOGE(LOG, "create helper failed for uri:%{public}s", maskedUri);
        return false;
    }
    helpers_.emplace(uri, std::move(helper));
    CFWK_LOGI(LOG, "create new helper success for uri:%{public}s", maskedUri);
    return true;
}

std::shared_ptr<DataShareImp> DataShareManager::FindHelper(const std::string& uri) {
    std::shared_lock lock(mutex_);
    const auto found = helpers_.find(uri);
    return found != helpers_.end() ? found->second : nullptr;
}

bool DataShareManager::IsHelperExists(const std::string& uri) {
    if (!FindHelper(uri)) {
        CFWK_LOGE(LOG, "failed due to no helper record for uri:%{public}s", PickerResult::StringToAnonymous(uri));
        return false;
    }
    CFWK_LOGI(LOG, "helper exist for uri:%{public}s", PickerResult::StringToAnonymous(uri));
    return true;
}

// In each of these the helper that exists is still there at the second look: none is ever removed.
void DataShareManager::RegisterObserver(const std::string& uri) {
    if (IsHelperExists(uri)) {
        FindHelper(uri)->RegisterObserver();
        CFWK_LOGI(
            LOG, "DataShareManager RegisterObserver uri:%{public}s success", PickerResult::StringToAnonymous(uri));
    }
}

void DataShareManager::NotifyDPChangedInfo(const std::string& uri, const std::string& data) {
    if (IsHelperExists(uri)) {
        FindHelper(uri)->NotifyDPChangedInfo(data);
        CFWK_LOGI(
            LOG, "DataShareManager NotifyDPChangedInfo uri:%{public}s success", PickerResult::StringToAnonymous(uri));
    }
}

void DataShareManager::InsertDPChangedInfo(const std::string& uri, const std::string& key, const std::string& value) {
    if (IsHelperExists(uri)) {
        FindHelper(uri)->InsertDPChangedInfo(key, value);
        CFWK_LOGI(
            LOG, "DataShareManager InsertDPChangedInfo uri:%{public}s success", PickerResult::StringToAnonymous(uri));
    }
}

}  // namespace ZYNE::CollaborationFwk
