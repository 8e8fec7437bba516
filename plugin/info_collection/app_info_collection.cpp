// The scan of installed apps.
#include "plugin/info_collection/app_info_collection.h"

#include "platform/system_ability/system_ability_ids.h"
#include "platform/system_ability/system_ability_manager_client.h"
#include "plugin/utils/log.h"

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

constexpr char INFO_ACTION_KEY[] = "INFO";
constexpr char INFO_ACTION[] = "com.varn.collaborationFwk.infoCollection.setting";
constexpr char CONFIG_FILE_METADATA[] = "collaborationFwk.infoCollection.configFile";
constexpr int32_t USER_ID = 100;

[[maybe_unused]] AppInfoCollection* const g_builtAtLoad = AppInfoCollection::GetInstance();

Want WantOf(const std::string& action) {
    Want want;
    want.SetAction(action);
    return want;
}

}  // namespace

AppInfoCollection* AppInfoCollection::GetInstance() {
    return &Singleton<AppInfoCollection>::Get();
}

void AppInfoCollection::Init() {
    CollectAppInfo();
    if (!HasAppIntegrated()) {
        CFWK_LOGI(LOG, "no app integrated found");
        return;
    }
    GetInfoAndPutToDpOnStart();
    InitDataShareManager();
}

void AppInfoCollection::CollectAppInfo() {
    std::lock_guard lock(initMutex_);
    if (initFinished_) {
        CFWK_LOGI(LOG, "init already finished");
        return;
    }
    actionMap_.insert_or_assign(INFO_ACTION_KEY, INFO_ACTION);
    if (!LoadLocalAbilities()) {
        CFWK_LOGI(LOG, "LoadLocalAbilities empty");
    }
    if (!LoadExtensionAbilities()) {
        CFWK_LOGI(LOG, "LoadExtensionAbilities empty");
    }
    initFinished_ = true;
}

sptr<IBundleMgr> AppInfoCollection::GetBundleMgrProxy() {
    const sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (!manager) {
        CFWK_LOGE(LOG, "failed to get system manager");
        return nullptr;
    }
    const sptr<IRemoteObject> remote = manager->GetSystemAbility(SystemAbilityIds::BUNDLE_MANAGER);
    if (!remote) {
        CFWK_LOGE(LOG, "failed to get BUNDLE_MGR_SERVICE_SYS_ABILITY_ID");
        return nullptr;
    }
    sptr<IBundleMgr> proxy = iface_cast<IBundleMgr>(remote);
    if (!proxy) {
        CFWK_LOGE(LOG, "failed to iface cast bms object");
        return nullptr;
    }
    CFWK_LOGI(LOG, "GetBundleMgrProxy success");
    return proxy;
}

bool AppInfoCollection::LoadLocalAbilities() {
    CFWK_LOGI(LOG, "start load local abilities");
    const sptr<IBundleMgr> proxy = GetBundleMgrProxy();
    if (!proxy) {
        CFWK_LOGE(LOG, "failed to get bms proxy");
        return false;
    }
    std::unique_lock lock(scanMutex_);
    std::vector<std::string> profiles;
    for (const auto& [key, action] : actionMap_) {
        std::vector<AbilityInfo> infos;
        const int32_t code = proxy->QueryAbilityInfosV9(WantOf(action), IBundleMgr::GET_WITH_METADATA, USER_ID, infos);
        CFWK_LOGI(
            LOG, "ability query action: %{public}s, ret: %{public}d, size: %{public}lu", action, code, infos.size());
        if (code != 0) {
            CFWK_LOGE(LOG, "QueryAbilityInfosV9 Error");
            return false;
        }
        for (const AbilityInfo& info : infos) {
            GetProfileInfo(info, action, profiles);
        }
    }
    CFWK_LOGI(LOG, "end load local abilities, size: %{public}lu", appInfoMetas_.size());
    return true;
}

bool AppInfoCollection::LoadExtensionAbilities() {
    CFWK_LOGI(LOG, "start load extensionAbilities");
    const sptr<IBundleMgr> proxy = GetBundleMgrProxy();
    if (!proxy) {
        CFWK_LOGE(LOG, "failed to get bms proxy");
        return false;
    }
    std::unique_lock lock(scanMutex_);
    std::vector<std::string> profiles;
    for (const auto& [key, action] : actionMap_) {
        std::vector<ExtensionAbilityInfo> infos;
        const int32_t code =
            proxy->QueryExtensionAbilityInfosV9(WantOf(action), IBundleMgr::GET_WITH_METADATA, USER_ID, infos);
        CFWK_LOGI(
            LOG, "extAbility query action: %{public}s, ret: %{public}d, size: %{public}lu", action, code, infos.size());
        if (code != 0) {
            CFWK_LOGE(LOG, "QueryExtensionAbilityInfosV9 Error");
            return false;
        }
        for (const ExtensionAbilityInfo& info : infos) {
            GetExtensionProfileInfo(info, action, profiles);
        }
    }
    CFWK_LOGI(LOG, "end load extensionAbilities, size: %{public}lu", appInfoMetas_.size());
    return true;
}

void AppInfoCollection::GetProfileInfo(
    const AbilityInfo& info, const std::string& action, std::vector<std::string>& profiles) {
    ReadProfiles(info, action, profiles, __FUNCTION__);
}

void AppInfoCollection::GetExtensionProfileInfo(
    const ExtensionAbilityInfo& info, const std::string& action, std::vector<std::string>& profiles) {
    ReadProfiles(info, action, profiles, __FUNCTION__);
}

template <typename Info>
void AppInfoCollection::ReadProfiles(
    const Info& info, const std::string& action, std::vector<std::string>& profiles, const char* operation) {
    CFWK_LOG_AS(INFO, LOG, operation, "ability: %{public}s,bundleName: %{public}s, metadatasize: %{public}lu",
        info.name, info.bundleName, info.metadata.size());
    for (const Metadata& metadata : info.metadata) {
        CFWK_LOG_AS(INFO, LOG, operation, "ability metadata %{public}s", metadata.name);
        if (metadata.name != CONFIG_FILE_METADATA) {
            continue;
        }
        appInfoMetas_.insert({action, metadata.name, metadata.value, metadata.resource});
        if (!bundleMgrClient_.GetResConfigFile(info, metadata.name, profiles)) {
            CFWK_LOG_AS(ERROR, LOG, operation, "getProfile fail");
            continue;
        }
        CFWK_LOG_AS(INFO, LOG, operation, "getProfile success");
        ParseProfiles(profiles, info.bundleName);
    }
}

}  // namespace ZYNE::CollaborationFwk
