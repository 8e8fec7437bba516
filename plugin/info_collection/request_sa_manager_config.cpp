// The provider configuration file: reading it and filling the manager's tables.
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <utility>

#include "platform/host/system_partition.h"
#include "platform/ipc/string_conversion.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;
constexpr LogDomain PATH_LOG = LogDomains::DEVICE_DETECT;

constexpr char INFO_CONFIG[] = "info_config";
constexpr char SA_ID[] = "sa_id";
constexpr char SA_DESCRIPTOR[] = "sa_descriptor";
constexpr char CMD_CODE_ID[] = "cmdCode_id";
constexpr char STATIC_INFO[] = "static_info";
constexpr char DYNAMIC_INFO[] = "dynamic_info";

constexpr int MAX_ELEMENTS = 1024;  // of any array in the file

struct FreeDeleter {
    void operator()(char* text) const { std::free(text); }
};

std::unique_ptr<char, FreeDeleter> Resolve(const std::string& path) {
    return std::unique_ptr<char, FreeDeleter>(realpath(SystemPartition::Locate(path).c_str(), nullptr));
}

bool ParseStream(std::istream& stream, Json::Value& root) {
    try {
        Json::Reader reader;
        return reader.parse(stream, root, true);
    } catch (const std::exception&) {
        return false;  // deep nesting, or a directory in place of the file
    }
}

int CountElements(const Json::Value& array) {
    return std::min(static_cast<int>(array.size()), MAX_ELEMENTS);
}

bool HasMandatoryFields(const Json::Value& entry) {
    return entry[SA_ID].isUInt() && entry[SA_DESCRIPTOR].isString() && entry[CMD_CODE_ID].isUInt();
}

}  // namespace

std::unique_ptr<Json::Value> RequestSAManager::ReadJsonFile(std::string path) {
    auto realPath = Resolve(path);
    if (realPath == nullptr) {
        CFWK_LOGE(PATH_LOG, "realPath is null");
        return nullptr;
    }
    std::ifstream stream(realPath.get(), std::ios::in | std::ios::binary);
    realPath.reset();
    if (!stream.is_open()) {
        CFWK_LOGE(LOG, "config.json not open");
        return nullptr;
    }
    Json::Value root;
    if (!ParseStream(stream, root)) {
        CFWK_LOGE(LOG, "config.json parse failed");
        return nullptr;
    }
    stream.close();
    CFWK_LOGI(LOG, "Get infoConfig Success");
    return std::make_unique<Json::Value>(root.isObject() ? root[INFO_CONFIG] : Json::Value());
}

bool RequestSAManager::ParseInfoConfig(std::unique_ptr<Json::Value>& infoConfig) {
    std::lock_guard lock(parseMutex_);
    const size_t size = infoConfig != nullptr && infoConfig->isArray() ? infoConfig->size() : 0;
    if (size > MAX_ELEMENTS) {
        CFWK_LOGE(LOG, "ParseInfoConfig array size too large");
        return false;
    }
    for (int i = 0; i < static_cast<int>(size); ++i) {
        const Json::Value entry = (*infoConfig)[i];
        if (!entry.isObject()) {
            CFWK_LOGI(LOG, "infoConfigObj config wrong format");
            continue;
        }
        if (!HasMandatoryFields(entry)) {
            CFWK_LOGE(LOG, "infoConfigObj not have momentous fields");
            continue;
        }
        ParseStaticInfo(entry[STATIC_INFO]);
        if (!entry.isMember(DYNAMIC_INFO)) {
            CFWK_LOGE(LOG, "infoConfigObj not have dynamic_info");
            continue;
        }
        if (!AddProvider(entry)) {
            CFWK_LOGE(LOG, "infoConfigObj not have momentous fields");
            continue;
        }
        CFWK_LOGI(LOG, "ParseInfoConfig for infoConfigArray index:%{public}d", i);
    }
    CFWK_LOGI(LOG, "ParseInfoConfig array size %{public}zu done", size);
    return true;
}

bool RequestSAManager::AddProvider(const Json::Value& entry) {
    // Ids and codes above the signed range keep their bits: they are sent as unsigned again.
    const auto saId = static_cast<int32_t>(entry[SA_ID].asUInt());
    const auto cmdCode = static_cast<int32_t>(entry[CMD_CODE_ID].asUInt());
    const std::string descriptorText = entry[SA_DESCRIPTOR].asString();
    const std::u16string descriptor = ToU16String(descriptorText);
    if (descriptor.empty() && !descriptorText.empty()) {
        return false;
    }
    std::vector<std::string> names;
    ParseDynamicInfo(entry[DYNAMIC_INFO], names);
    SetDynamicMapBySa(saId, cmdCode, descriptor, names);
    std::unique_lock lock(infoConfigMutex_);
    infoConfigs_.emplace_back(saId, cmdCode, descriptor, std::move(names));
    return true;
}

void RequestSAManager::ParseStaticInfo(const Json::Value& staticInfo) {
    if (!staticInfo.isArray()) {
        CFWK_LOGE(LOG, "ParseStaticInfo parse fail");
        return;
    }
    const int count = CountElements(staticInfo);
    for (int i = 0; i < count; ++i) {
        const Json::Value& element = staticInfo[i];
        if (!element.isObject()) {
            CFWK_LOGI(LOG, "staticInfoObj config wrong format");
            continue;
        }
        for (const std::string& key : element.getMemberNames()) {
            if (element[key].isString()) {
                const std::string value = element[key].asString();
                staticInfoMap_.emplace(key, value);
                CFWK_LOGI(LOG, "staticInfoObj key:%{public}s val:%{public}s", key, value);
            }
        }
        CFWK_LOGI(LOG, "ParseStaticInfo for infoConfigArray index:%{public}d", i);
    }
    CFWK_LOGI(LOG, "ParseStaticInfo over for size %{public}d", count);
}

void RequestSAManager::ParseDynamicInfo(const Json::Value& dynamicInfo, std::vector<std::string>& names) {
    if (!dynamicInfo.isArray()) {
        CFWK_LOGE(LOG, "ParseDynamicInfo parse fail");
        return;
    }
    const int count = CountElements(dynamicInfo);
    for (int i = 0; i < count; ++i) {
        const Json::Value& element = dynamicInfo[i];
        if (!element.isObject()) {
            CFWK_LOGI(LOG, "dynamicInfoObj config wrong format");
            continue;
        }
        for (const std::string& key : element.getMemberNames()) {
            names.push_back(key);
            CFWK_LOGI(LOG, "dynamicInfo key:%{public}s", key);
        }
        CFWK_LOGI(LOG, "ParseDynamicInfo for infoConfigArray index:%{public}d", i);
    }
    CFWK_LOGI(LOG, "ParsedynamicInfo over");
}

void RequestSAManager::SetDynamicMapBySa(
    int32_t saId, int32_t cmdCode, std::u16string descriptor, std::vector<std::string> names) {
    std::unique_lock lock(dynamicMapMutex_);
    for (const std::string& name : names) {
        dynamicMapBySa_.emplace(name, DynamicInfoMapBySa{name, saId, cmdCode, descriptor});
        CFWK_LOGI(LOG, "SetDynamicMapBySa for infoName:%{public}s", name);
    }
}

std::u16string RequestSAManager::ToU16String(const std::string& str) {
    std::u16string converted = Str8ToStr16(str);
    // The platform's conversion replaces what it cannot read: only text that it read as it stands comes back the same.
    return Str16ToStr8(converted) == str ? converted : std::u16string();
}

std::map<std::string, DynamicInfoMapBySa> RequestSAManager::GetDynamicMap() {
    std::shared_lock lock(dynamicMapMutex_);
    return dynamicMapBySa_;
}

int32_t RequestSAManager::StartRequestSa() {
    std::unique_ptr<Json::Value> infoConfig = ReadJsonFile(configPath_);
    if (infoConfig == nullptr) {
        CFWK_LOGE(LOG, "read requestSaPre.json null");
        return -1;
    }
    const bool isParsed = ParseInfoConfig(infoConfig);
    CFWK_LOGI(LOG, "ParseInfoConfig bool reuslt %{public}d", isParsed);
    std::shared_lock lock(infoConfigMutex_);
    for (SaReqTask& task : infoConfigs_) {
        std::string resultJson;
        const int32_t code = RequestSaOnConfigInfo(task, resultJson);
        CFWK_LOGI(LOG, "StartRequestSa requestRes:%{public}d, resultJson%{public}s", code, resultJson);
    }
    return 0;
}

}  // namespace ZYNE::CollaborationFwk
