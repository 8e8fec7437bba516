// The data-share URIs that the library uses, one helper for each.
//
//     DataShareManager& dataShare = DataShareManager::GetInstance();
//     if (dataShare.CreateDataShareHelper(uri, 70635)) {
//         dataShare.RegisterObserver(uri);
//     }
#pragma once

#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <string>
#include <unordered_map>

#include "plugin/datashare/datashare_imp.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Helpers are never removed. Operations on a URI without a helper do nothing. Only the making of a helper
// holds the lock across calls into the port.
class DataShareManager {
public:
    static DataShareManager& GetInstance();

    // Whether there is a helper for `uri` now, made by the right of a system ability if need be. Blocks while the
    // ability and the provider start; others wait meanwhile.
    bool CreateDataShareHelper(const std::string& uri, int32_t systemAbilityId);
    bool IsHelperExists(const std::string& uri);

    // See DataShareImp.
    void RegisterObserver(const std::string& uri);
    void NotifyDPChangedInfo(const std::string& uri, const std::string& data);
    void InsertDPChangedInfo(const std::string& uri, const std::string& key, const std::string& value);

private:
    friend class Singleton<DataShareManager>;

    DataShareManager() = default;
    ~DataShareManager() = default;

    // Null when there is none.
    std::shared_ptr<DataShareImp> FindHelper(const std::string& uri);

    std::shared_mutex mutex_;
    std::unordered_map<std::string, std::shared_ptr<DataShareImp>> helpers_;  // by URI; guarded by mutex_
};

}  // namespace ZYNE::CollaborationFwk
