// Asks system abilities for dynamic info, as the provider configuration file tells.
//
//     {"info_config": [{"sa_id": 70801, "sa_descriptor": "example.ISystemInfo", "cmdCode_id": 1,
//         "static_info": [{"vendor": "example"}], "dynamic_info": [{"hostname": ""}, {"uptime": ""}]}]}
#pragma once

#include <json/json.h>

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

#include "platform/ipc/remote_object.h"
#include "plugin/export.h"
#include "plugin/info_collection/dynamic_info_map_by_sa.h"
#include "plugin/info_collection/sa_req_task.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Its tables only grow. Lock order: parseMutex_, then dynamicMapMutex_ or infoConfigMutex_;
// infoConfigMutex_, then reqTasksMutex_.
class RequestSAManager {
public:
    CFWK_EXPORT static RequestSAManager* GetInstance();  // never null

    // Reads the configuration file and asks every configured system ability once; those that do not run are loaded. For
    // the host to call once at start: a second call asks everything twice. Blocks for up to eight seconds an ability.
    // 0; -1 the file could not be read.
    CFWK_EXPORT int32_t StartRequestSa();

    // The "info_config" member of the file, null where there is none; nothing when the file cannot be read.
    std::unique_ptr<Json::Value> ReadJsonFile(std::string path);
    // Fills the tables; null is no entries. False, and nothing is filled, when there are more than 1024 of them.
    bool ParseInfoConfig(std::unique_ptr<Json::Value>& infoConfig);
    void ParseStaticInfo(const Json::Value& staticInfo);
    void ParseDynamicInfo(const Json::Value& dynamicInfo, std::vector<std::string>& names);
    void SetDynamicMapBySa(int32_t saId, int32_t cmdCode, std::u16string descriptor, std::vector<std::string> names);
    // Empty for what is not UTF-8.
    std::u16string ToU16String(const std::string& str);

    // Copies.
    std::map<std::string, DynamicInfoMapBySa> GetDynamicMap();
    std::list<SaReqTask> GetReqTasks();

    // Asks for the load of a system ability. Whether it was accepted.
    bool LoadSystemAbility(int32_t systemAbilityId);
    // The running system ability; else null, and `task` is kept to be sent once it has been loaded.
    sptr<IRemoteObject> CheckSystemAbility(int32_t systemAbilityId, SaReqTask& task);
    // Sends `task` and stores the reply. 0; 1006 or 1007 the request could not be written; 1008 not sent; 1009 the
    // ability does not run, `resultJson` is untouched.
    int32_t RequestSaOnConfigInfo(SaReqTask& task, std::string& resultJson);
    // The value of one item; empty when it cannot be had now.
    std::string RequestSingleSaOnConfigInfo(DynamicInfoMapBySa info);

private:
    friend class Singleton<RequestSAManager>;

    RequestSAManager() = default;
    ~RequestSAManager() = default;

    // Takes in the service of an entry that has all members; false when its descriptor is not UTF-8.
    bool AddProvider(const Json::Value& entry);

    const std::string configPath_ = "/system/etc/CollaborationFwk/requestSaPre.json";
    std::mutex parseMutex_;  // held while the tables are filled
    std::shared_mutex dynamicMapMutex_;
    std::shared_mutex infoConfigMutex_;
    std::shared_mutex reqTasksMutex_;
    // Guarded by parseMutex_. Kept for whoever comes to offer static info: nothing reads it yet.
    std::map<std::string, std::string> staticInfoMap_;
    std::map<std::string, DynamicInfoMapBySa> dynamicMapBySa_;  // guarded by dynamicMapMutex_
    std::list<SaReqTask> infoConfigs_;                          // guarded by infoConfigMutex_
    std::list<SaReqTask> reqTasks_;                             // guarded by reqTasksMutex_
};

}  // namespace ZYNE::CollaborationFwk
