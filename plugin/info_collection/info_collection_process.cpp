#include "plugin/info_collection/info_collection_process.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <unordered_map>
#include <utility>

#include "platform/host/listener_manager.h"
#include "platform/host/plugin_loader.h"
#include "plugin/info_collection/info_collection_command.h"
#include "plugin/info_collection/info_collection_process_listener.h"
#include "plugin/info_collection/info_collection_service.h"
#include "plugin/utils/json_utils.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;
constexpr LogDomain VALIDATION_LOG = LogDomains::CFWK_SERVICE;

constexpr int INFO_COLLECTION_REQUEST = 1;        // the value of "commandType"
constexpr Json::ArrayIndex MAX_KEY_COUNT = 1024;  // in one request
constexpr size_t MAX_RESPONSE_LENGTH = 4194304;   // bytes
constexpr size_t ID_STRING_SIZE = 12;             // eleven digits and the zero byte

bool IsString(const Json::Value& value) {
    return value.isString();
}

bool IsConvertibleToString(const Json::Value& value) {
    return value.isConvertibleTo(Json::stringValue);
}

// False when `text` is no object of plain values.
bool ParseResponse(const char* text, Json::Value& response) {
    return JsonUtils::StringToJsonInternal(text, &response) && response.isObject() &&
        std::all_of(response.begin(), response.end(), IsConvertibleToString);
}

}  // namespace

constinit std::atomic<InfoCollectionProcess*> InfoCollectionProcess::instance_{nullptr};
constinit std::mutex InfoCollectionProcess::instanceMutex_;

namespace {

// What the host answered when the library was loaded and made itself known.
[[maybe_unused]] const bool g_isRegistered =
    PluginLoader::GetLoader().RegisterInstance(PluginType::INFO_COLLECTION, InfoCollectionProcess::GetInstance());

}  // namespace

InfoCollectionProcess* InfoCollectionProcess::GetInstance() {
    if (InfoCollectionProcess* instance = instance_.load(std::memory_order_acquire)) {
        return instance;
    }
    std::lock_guard lock(instanceMutex_);
    if (InfoCollectionProcess* instance = instance_.load(std::memory_order_relaxed)) {
        return instance;
    }
    auto* created = new (std::nothrow) InfoCollectionProcess;
    if (created == nullptr) {
        CFWK_LOGE(LOG, "create InfoCollectionProcess object failed");
        return nullptr;
    }
    instance_.store(created, std::memory_order_release);
    return created;
}

InfoCollectionProcess::InfoCollectionProcess() {
    CFWK_LOGI(LOG, "create InfoCollectionProcess");
    InitEventListener();
}

InfoCollectionProcess::~InfoCollectionProcess() {
    CFWK_LOGI(LOG, "destroy InfoCollectionProcess");
}

void InfoCollectionProcess::InitEventListener() {
    if (ListenerManager* manager = ListenerManager::GetInstance()) {
        manager->RegisterEventListener(CTRL_CHANNEL_EVENT_TYPE, std::make_shared<InfoCollectionProcessListener>());
    }
}

std::string InfoCollectionProcess::GenerateInfoCollectionReqCommand(const std::vector<std::string>& keys) {
    Json::Value keyList(Json::arrayValue);
    for (const std::string& key : keys) {
        keyList.append(key);
    }
    Json::Value root;
    root[COMMAND_TYPE] = INFO_COLLECTION_REQUEST;
    root[KEY_LIST] = keyList;
    std::string text = JsonUtils::ToStyledString(root);
    CFWK_LOGI(LOG, "GenerateInfoCollectionReqCommand %{public}s", text);
    return text;
}

std::string InfoCollectionProcess::UIntToElevenLengthString(uint32_t id) {
    std::array<char, ID_STRING_SIZE> digits{};
    if (std::snprintf(digits.data(), digits.size(), "%011u", id) < 1) {
        CFWK_LOGE(LOG, "Convert int to string is failed");
        return {};
    }
    return digits.data();
}

std::vector<std::shared_ptr<Command>> InfoCollectionProcess::CreateCommand(const std::string& commandProp) {
    Json::Value root;
    if (!JsonUtils::StringToJsonInternal(commandProp, &root) || !root.isObject()) {
        CFWK_LOGE(LOG, "get commandProp json invalid!");
        return {};
    }
    if (!IsValidCommandProp(root)) {
        return {};
    }
    std::vector<std::shared_ptr<Command>> commands;
    if (root[COMMAND_TYPE].asInt() == INFO_COLLECTION_REQUEST) {
        const Json::Value keyList = root[KEY_LIST];
        if (keyList.size() > MAX_KEY_COUNT) {  // on purpose once more, next to the loop that it bounds
            CFWK_LOGE(LOG, "external input over limit");
            return {};
        }
        std::vector<std::string> names;
        for (const Json::Value& entry : keyList) {
            if (entry.isString()) {
                names.push_back(entry.asString());
                CFWK_LOGI(LOG, "infoCollectionCommand %{public}s", names.back());
            }
        }
        commands.push_back(std::make_shared<InfoCollectionCommand>(names));
    }
    CFWK_LOGI(LOG, "complete infoCollectionCommand");
    return commands;
}

bool InfoCollectionProcess::IsValidCommandProp(Json::Value& root) {
    if (!root.isObject()) {
        CFWK_LOGE(VALIDATION_LOG, "invalid jsonObj param!");
        return false;
    }
    if (!root.isMember(COMMAND_TYPE) || !root.isMember(KEY_LIST)) {
        CFWK_LOGE(VALIDATION_LOG, "invalid jsonObj inner param!");
        return false;
    }
    if (!root[COMMAND_TYPE].isInt()) {
        CFWK_LOGE(VALIDATION_LOG, "invalid jsonObj value param!");
        return false;
    }
    const Json::Value& keyList = root[KEY_LIST];
    if (keyList.size() > MAX_KEY_COUNT) {  // what is no array or object has no entries
        CFWK_LOGE(LOG, "external input over limit");
        return false;
    }
    if (!std::all_of(keyList.begin(), keyList.end(), IsString)) {
        CFWK_LOGE(VALIDATION_LOG, "invalid keyList value param!");
        return false;
    }
    return true;
}

void InfoCollectionProcess::OnDataReceived(uint32_t collaborationId, const char* rawData, size_t rawDataLen) {
    if (rawData == nullptr) {
        CFWK_LOGE(LOG, "OnDataReceived rawData is null");
        return;
    }
    if (rawDataLen > MAX_RESPONSE_LENGTH) {
        CFWK_LOGE(LOG, "OnDataReceived rawDataLen:%{public}zu is oversize", rawDataLen);
        return;
    }
    CFWK_LOGI(LOG, "OnDataReceived rawData is:%{public}s", rawData);
    Json::Value response;
    if (!ParseResponse(rawData, response)) {
        CFWK_LOGE(LOG, "StringToJson failed");
        return;
    }
    std::unordered_map<std::string, std::string> info;
    for (const std::string& name : response.getMemberNames()) {
        std::string value = response[name].asString();
        CFWK_LOGI(LOG, "OnDataReceived member is:%{public}s, value is:%{public}s", name, value);
        info[name] = std::move(value);
    }
    InfoCollectionService::GetInstance().SetDynamicInfo(collaborationId, info);
}

}  // namespace ZYNE::CollaborationFwk
