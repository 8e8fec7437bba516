#include "plugin/info_collection/info_collection_manager.h"

#include <chrono>
#include <utility>

#include "platform/host/asyn_thread_pool.h"
#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "plugin/utils/log.h"
#include "plugin/utils/string_utils.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr std::chrono::seconds IDLE_TIME{300};
constexpr std::chrono::seconds FIRST_SLEEP{300};
constexpr int32_t DISCONNECT_TASK = 2;
constexpr int HEXADECIMAL = 16;

// As CheckAndGetDynamicInfoBySa, which people search for.
std::string FindInfoBySa(const std::string& name, const std::map<std::string, DynamicInfoMapBySa>& map) {
    constexpr char OPERATION[] = "CheckAndGetDynamicInfoBySa";
    const auto found = map.find(name);
    if (found == map.end()) {
        CFWK_LOG_AS(ERROR, LOG, OPERATION, "info %{public}s not found in dynamicMapBySa", name);
        return {};
    }
    std::string value = RequestSAManager::GetInstance()->RequestSingleSaOnConfigInfo(found->second);
    CFWK_LOG_AS(INFO, LOG, OPERATION, "info %{public}s Sa get result %{public}s", name, value);
    return value;
}

[[maybe_unused]] InfoCollectionManager* const g_builtAtLoad = InfoCollectionManager::GetInstance();

}  // namespace

InfoCollectionManager* InfoCollectionManager::GetInstance() {
    return &Singleton<InfoCollectionManager>::Get();
}

void InfoCollectionManager::GetLocalDeviceDynamicInfo(
    std::vector<std::string>& names, std::unordered_map<std::string, std::string>& result) {
    CFWK_LOGI(LOG, "GetLocalDeviceDynamicInfo check dynamicMapByPak");
    auto appMap = AppInfoCollection::GetInstance()->GetDynamicMap();
    for (const auto& [key, record] : appMap) {
        CFWK_LOGI(LOG, "dynamic key:%{public}s,info:%{public}s,bundle:%{public}s,%{public}s,Code:%{public}s,%{public}s",
            key, record.infoName, record.bundleName, record.serviceExtensionAbilityName, record.commandCode,
            record.variable);
    }
    CFWK_LOGI(LOG, "GetLocalDeviceDynamicInfo check dynamicMapBySa");
    const auto systemAbilityMap = RequestSAManager::GetInstance()->GetDynamicMap();
    for (const auto& [key, record] : systemAbilityMap) {
        CFWK_LOGI(LOG, "dynamic key:%{public}s,saId:%{public}d,Code:%{public}d", key, record.saId, record.cmdCodeId);
    }
    for (const std::string& name : names) {
        const auto found = appMap.find(name);
        if (found == appMap.end()) {
            CFWK_LOGE(LOG, "info %{public}s not found in dynamicMapByPak", name);
            result[name] = FindInfoBySa(name, systemAbilityMap);
            continue;
        }
        std::string value;
        GetLocalSingleDynamicInfoByPak(name, found->second, value);
        result[name] = std::move(value);
    }
}

std::string InfoCollectionManager::CheckAndGetDynamicInfoBySa(
    std::string name, std::map<std::string, DynamicInfoMapBySa> map) {
    return FindInfoBySa(name, map);
}

void InfoCollectionManager::GetLocalSingleDynamicInfoByPak(
    const std::string& name, DynamicInfoMapByPak& record, std::string& value) {
    const std::string& bundleName = record.bundleName;
    const std::string& serviceName = record.serviceExtensionAbilityName;
    const std::string key = bundleName + "&" + serviceName;
    {
        std::unique_lock lock(connectionMutex_);
        const auto found = abilityConnectionImps_.find(key);
        if (found == abilityConnectionImps_.end()) {
            if (!AddConnection(bundleName, serviceName, key)) {
                CFWK_LOGE(LOG, "create AbilityConnectionImp failed");
                return;
            }
            CFWK_LOGI(LOG, "abilityConnectionImps_ find no imp, rebuid");
        } else if (found->second->IsProxyNull()) {
            CFWK_LOGI(LOG, "abilityConnectionImps_ find imp but no connection, reconnect");
            found->second->ConnectAbility(bundleName, serviceName);
        } else {
            PostponeClose(key);
        }
    }
    const auto [isNumber, code] = StringUtils::GetResult(record.commandCode, HEXADECIMAL);
    if (!isNumber) {
        return;
    }
    // Held over the query: the connection is not closed under it.
    std::shared_lock lock(connectionMutex_);
    const auto found = abilityConnectionImps_.find(key);
    if (found != abilityConnectionImps_.end()) {
        value = found->second->QueryDeviceDynamicInfo(static_cast<int>(code), name);
    }
}

bool InfoCollectionManager::AddConnection(
    const std::string& bundleName, const std::string& serviceName, const std::string& key) {
    const auto connection = MakeSptr<AbilityConnectionImp>();
    if (!connection) {
        return false;
    }
    abilityConnectionImps_[key] = connection;
    connection->ConnectAbility(bundleName, serviceName);
    AddDisconnectServiceTask(bundleName, serviceName, key);
    return true;
}

void InfoCollectionManager::PostponeClose(const std::string& key) {
    std::unique_lock lock(disconnectMutex_);
    disconnectTimes_[key] = TimeSource::GetInstance().Now() + IDLE_TIME;
}

void InfoCollectionManager::AddDisconnectServiceTask(
    const std::string& bundleName, const std::string& serviceName, const std::string& key) {
    PostponeClose(key);
    const std::function<void()> task = [this, bundleName, serviceName, key] {
        DisconnectService(bundleName, serviceName, key);
    };
    const bool isAdded = AsynThreadPool::GetInstance()->AddAsynTask(task, DISCONNECT_TASK);
    disconnectTasks_[key] = task;
    CFWK_LOGI(LOG, "add async result = %{public}d", isAdded);
}

void InfoCollectionManager::DisconnectService(
    const std::string& bundleName, const std::string& serviceName, const std::string& key) {
    CFWK_LOGI(LOG, "DisconnectService, start");
    TimeSource::GetInstance().SleepFor(FIRST_SLEEP);
    CFWK_LOGI(LOG, "DisconnectService, bundleName:%{public}s, serviceName:%{public}s", bundleName, serviceName);
    const std::unique_lock lock = LockWhenIdle(key);
    const auto found = abilityConnectionImps_.find(key);
    if (found == abilityConnectionImps_.end()) {
        CFWK_LOGE(LOG, "cannot find serviceKey");
    } else {
        const bool isConnected = found->second->IsServiceConnected();
        CFWK_LOGI(LOG, "DisconnectService check if connected: %{public}d", isConnected);
        if (isConnected) {
            found->second->DisconnectAbility(bundleName, serviceName);
        } else {
            CFWK_LOGE(LOG, "DisconnectService find no connection for %{public}s & %{public}s", bundleName, serviceName);
        }
        abilityConnectionImps_.erase(found);
    }
    std::unique_lock timesLock(disconnectMutex_);
    disconnectTimes_.erase(key);
}

TimeSource::TimePoint InfoCollectionManager::GetCloseTime(const std::string& key) {
    std::shared_lock lock(disconnectMutex_);
    const auto found = disconnectTimes_.find(key);
    return found != disconnectTimes_.end() ? found->second : TimeSource::TimePoint::min();
}

void InfoCollectionManager::WaitUntilIdle(const std::string& key) {
    TimeSource& time = TimeSource::GetInstance();
    TimeSource::TimePoint closeTime = GetCloseTime(key);
    while (time.Now() < closeTime) {
        time.SleepUntil(closeTime);
        closeTime = GetCloseTime(key);
    }
}

std::unique_lock<std::shared_mutex> InfoCollectionManager::LockWhenIdle(const std::string& key) {
    while (true) {
        WaitUntilIdle(key);
        std::unique_lock lock(connectionMutex_);
        // A use may have come in between.
        if (TimeSource::GetInstance().Now() >= GetCloseTime(key)) {
            return lock;
        }
    }
}

}  // namespace ZYNE::CollaborationFwk
