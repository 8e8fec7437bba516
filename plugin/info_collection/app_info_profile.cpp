// The profiles that apps declare, and the maps that they fill.
#include <algorithm>
#include <mutex>
#include <optional>

#include "platform/host/picker_result.h"
#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/info_collection_manager.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr char STATIC_INFO[] = "static_info";
constexpr char DYNAMIC_INFO[] = "dynamic_info";
constexpr char SERVICE_EXTENSION_ABILITY_NAME[] = "serviceExtensionAbilityName";
constexpr char COMMAND_CODE[] = "commandCode";
constexpr char VARIABLE[] = "variable";
constexpr char DATA_SHARE_URI[] = "dataShareUri";
constexpr Json::ArrayIndex MAX_ELEMENTS = 1024;  // of "dynamic_info"

// Nothing when a member is missing or no string.
std::optional<DynamicInfoMapByPak> ReadRecord(
    const Json::Value& item, const std::string& infoName, const std::string& bundleName) {
    for (const char* member : {SERVICE_EXTENSION_ABILITY_NAME, COMMAND_CODE, VARIABLE, DATA_SHARE_URI}) {
        if (!item[member].isString()) {
            return std::nullopt;
        }
    }
    return DynamicInfoMapByPak{infoName, bundleName, item[SERVICE_EXTENSION_ABILITY_NAME].asString(),
        item[COMMAND_CODE].asString(), item[VARIABLE].asString(), item[DATA_SHARE_URI].asString()};
}

}  // namespace

void AppInfoCollection::ParseProfiles(const std::vector<std::string>& profiles, const std::string& bundleName) {
    for (const std::string& text : profiles) {
        const Json::Value profile = ParseStrToJson(text, bundleName);
        if (!profile.isNull()) {
            CFWK_LOGI(LOG, "json parsed%{public}s", profile.toStyledString());
        }
    }
}

Json::Value AppInfoCollection::ParseStrToJson(const std::string& profileText, const std::string& bundleName) {
    Json::Value parsed;
    if (!JsonUtils::StringToJsonInternal(profileText, &parsed) || !parsed.isObject()) {
        CFWK_LOGE(LOG, "StringToJson failed");
        return {};
    }
    const Json::Value& profile = parsed;
    const Json::Value& staticInfoObj = profile[STATIC_INFO];
    if (!staticInfoObj.isObject()) {
        CFWK_LOGE(LOG, "staticInfoObj format not correct");
        return {};
    }
    for (const std::string& key : staticInfoObj.getMemberNames()) {
        if (staticInfoObj[key].isString()) {
            const std::string value = staticInfoObj[key].asString();
            {
                std::lock_guard lock(staticMapMutex_);
                staticInfoMap_.emplace(key, value);
            }
            CFWK_LOGI(LOG, "staticInfoObj key:%{public}s val:%{public}s", key, value);
        }
    }
    const Json::Value& dynamicInfoObjArray = profile[DYNAMIC_INFO];
    if (!dynamicInfoObjArray.isArray()) {
        CFWK_LOGE(LOG, "dynamicInfoObjArray format not correct");
        return {};
    }
    const Json::ArrayIndex count = std::min(dynamicInfoObjArray.size(), MAX_ELEMENTS);
    for (Json::ArrayIndex i = 0; i < count; ++i) {
        if (dynamicInfoObjArray[i].isObject()) {
            ParseDynamicInfoConfig(dynamicInfoObjArray[i], bundleName);
        } else {
            CFWK_LOGI(LOG, "dynamicInfoObj config wrong format");
        }
    }
    return parsed;
}

void AppInfoCollection::ParseDynamicInfoConfig(const Json::Value& dynamicInfoObj, const std::string& bundleName) {
    for (const std::string& name : dynamicInfoObj.getMemberNames()) {
        const Json::Value& item = dynamicInfoObj[name];
        if (!item.isObject()) {
            CFWK_LOGI(LOG, "dynamicInfoObj key-value config wrong format");
            continue;
        }
        const std::optional<DynamicInfoMapByPak> record = ReadRecord(item, name, bundleName);
        if (!record) {
            continue;
        }
        CFWK_LOGI(LOG, "key:%{public}s-[%{public}s, %{public}s, %{public}s, %{public}s, %{public}s", record->infoName,
            record->bundleName, record->serviceExtensionAbilityName, record->commandCode, record->variable,
            PickerResult::StringToAnonymous(record->dataShareUri));
        {
            std::unique_lock lock(dynamicMapMutex_);
            dynamicMapByPak_.emplace(name, *record);
        }
        CFWK_LOGI(LOG, "dynamicInfoObj done for key:%{public}s", name);
    }
}

bool AppInfoCollection::HasAppIntegrated() {
    std::shared_lock lock(dynamicMapMutex_);
    return !dynamicMapByPak_.empty();
}

std::map<std::string, std::string> AppInfoCollection::GetStaticMap() {
    std::lock_guard lock(staticMapMutex_);
    return staticInfoMap_;
}

std::map<std::string, DynamicInfoMapByPak> AppInfoCollection::GetDynamicMap() {
    std::shared_lock lock(dynamicMapMutex_);
    return dynamicMapByPak_;
}

Json::Value AppInfoCollection::GetDeviceDynamicInfos() {
    Json::Value values;
    auto dynamicMap = GetDynamicMap();
    for (auto& [name, record] : dynamicMap) {
        CFWK_LOGI(LOG,
            "dynamic key:%{public}s,info:%{public}s,bundle:%{public}s,%{public}s,Code:%{public}s,%{public}s,"
            "%{public}s",
            name, record.infoName, record.bundleName, record.serviceExtensionAbilityName, record.commandCode,
            record.variable, PickerResult::StringToAnonymous(record.dataShareUri));
        std::string result;
        InfoCollectionManager::GetInstance()->GetLocalSingleDynamicInfoByPak(record.infoName, record, result);
        CFWK_LOGI(LOG, "GetLocalSingleDynamicInfoByPak Result, infoName:%{public}s, result:%{public}s", record.infoName,
            result);
        if (record.infoName.empty() || result.empty()) {
            CFWK_LOGI(LOG, "GetLocalSingleDynamicInfoByPak check empty string, infoName:%{public}s, result:%{public}s",
                record.infoName, result);
            continue;
        }
        values[record.infoName] = result;
    }
    CFWK_LOGI(LOG, "profileObjStr result:%{public}s", values.toStyledString());
    return values;
}

}  // namespace ZYNE::CollaborationFwk
