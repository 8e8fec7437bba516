// Finds the installed apps that offer info, and keeps what they offer.
//
// An app declares, on an ability or extension ability that answers the action
// "com.varn.collaborationFwk.infoCollection.setting", a metadata entry "collaborationFwk.infoCollection.configFile"
// whose resource is a profile:
//
//     {"static_info": {"vendor": "example"},
//      "dynamic_info": [{"cpuModel": {"serviceExtensionAbilityName": "FactsService", "commandCode": "1",
//          "variable": "", "dataShareUri": "datashare:///com.example.facts"}}]}
#pragma once

#include <json/json.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <string>
#include <vector>

#include "platform/bundle/bundle_mgr.h"
#include "platform/bundle/bundle_mgr_client.h"
#include "plugin/export.h"
#include "plugin/info_collection/app_info_meta.h"
#include "plugin/info_collection/dynamic_info_map_by_pak.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Filled by the first scan and never emptied. Lock order: initMutex_, scanMutex_, then dynamicMapMutex_ or
// staticMapMutex_.
class AppInfoCollection {
public:
    CFWK_EXPORT static AppInfoCollection* GetInstance();  // never null

    // Scans the installed apps, publishes the current values of what they offer, and has their changes published from
    // then on. For the host to call once at start; blocks while the bundle manager and the apps answer. A second call
    // scans nothing, but publishes again, and has every later change published twice.
    CFWK_EXPORT void Init();
    // Whether any app offers dynamic info.
    CFWK_EXPORT bool HasAppIntegrated();
    // A copy of the static info of all apps.
    CFWK_EXPORT std::map<std::string, std::string> GetStaticMap();

    // Runs both scans, the first time that it is called.
    void CollectAppInfo();
    // False when the bundle manager could not be asked.
    bool LoadLocalAbilities();
    bool LoadExtensionAbilities();
    // Null when there is none.
    sptr<IBundleMgr> GetBundleMgrProxy();
    // Read the profiles of one ability; their texts are appended to `profiles`.
    void GetProfileInfo(const AbilityInfo& info, const std::string& action, std::vector<std::string>& profiles);
    void GetExtensionProfileInfo(
        const ExtensionAbilityInfo& info, const std::string& action, std::vector<std::string>& profiles);
    void ParseProfiles(const std::vector<std::string>& profiles, const std::string& bundleName);

    // Takes in one profile, and returns it; null when it was rejected.
    Json::Value ParseStrToJson(const std::string& profileText, const std::string& bundleName);
    // Takes in one element of "dynamic_info".
    void ParseDynamicInfoConfig(const Json::Value& dynamicInfoObj, const std::string& bundleName);
    // A copy.
    std::map<std::string, DynamicInfoMapByPak> GetDynamicMap();
    // The current values of all items that apps serve, asked one by one; null when none has a value.
    Json::Value GetDeviceDynamicInfos();

    // Publishes the current values in the device profile, if there are any.
    void GetInfoAndPutToDpOnStart();
    // Observes the data-share URI of every item.
    void InitDataShareManager();

private:
    friend class Singleton<AppInfoCollection>;

    AppInfoCollection() = default;
    ~AppInfoCollection() = default;

    // Logs under the name of the `operation` that it does.
    template <typename Info>
    void ReadProfiles(
        const Info& info, const std::string& action, std::vector<std::string>& profiles, const char* operation);

    std::mutex initMutex_;  // one collection at a time
    std::shared_mutex scanMutex_;
    std::mutex staticMapMutex_;
    std::shared_mutex dynamicMapMutex_;
    std::set<AppInfoMeta> appInfoMetas_;  // guarded by scanMutex_
    BundleMgrClient bundleMgrClient_;
    std::map<std::string, std::string> actionMap_;                // guarded by initMutex_
    std::map<std::string, std::string> staticInfoMap_;            // guarded by staticMapMutex_
    std::map<std::string, DynamicInfoMapByPak> dynamicMapByPak_;  // guarded by dynamicMapMutex_
    std::atomic<bool> initFinished_{false};
};

}  // namespace ZYNE::CollaborationFwk
