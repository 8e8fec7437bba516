// Answers a list of dynamic info names with their values on this device: apps first, then system abilities.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/time/time_source.h"
#include "plugin/info_collection/ability_connection_imp.h"
#include "plugin/info_collection/dynamic_info_map_by_pak.h"
#include "plugin/info_collection/dynamic_info_map_by_sa.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Keeps a connection to each app service that was asked, and closes it 300 seconds after its last use. A
// service's key is its bundle name, "&" and its name.
//
// Lock order: connectionMutex_, then disconnectMutex_. connectionMutex_ is held exclusively while a connection is made
// or removed, and shared while a query runs, so that nothing is closed under a query.
class InfoCollectionManager {
public:
    static InfoCollectionManager* GetInstance();  // never null

    // Sets an entry of `result` for every name of `names`; the value is empty where nobody knows it. Blocks while
    // providers are asked, up to eight seconds and a half each.
    void GetLocalDeviceDynamicInfo(
        std::vector<std::string>& names, std::unordered_map<std::string, std::string>& result);

    // The value of a system ability's item.
    std::string CheckAndGetDynamicInfoBySa(std::string name, std::map<std::string, DynamicInfoMapBySa> map);

    // The value of an app's item; `value` is unchanged when the record's code is no hexadecimal number.
    void GetLocalSingleDynamicInfoByPak(const std::string& name, DynamicInfoMapByPak& record, std::string& value);

    // Posts the task that closes the connection `key` once it is idle. With connectionMutex_ held.
    void AddDisconnectServiceTask(
        const std::string& bundleName, const std::string& serviceName, const std::string& key);
    // That task: blocks until the connection has been idle for 300 seconds and closes it.
    void DisconnectService(const std::string& bundleName, const std::string& serviceName, const std::string& key);

private:
    friend class Singleton<InfoCollectionManager>;

    InfoCollectionManager() = default;
    ~InfoCollectionManager() = default;

    // Makes and keeps a connection; false when memory is out. With connectionMutex_ held.
    bool AddConnection(const std::string& bundleName, const std::string& serviceName, const std::string& key);
    void PostponeClose(const std::string& key);
    // When the connection `key` may be closed; the past when it is not known.
    TimeSource::TimePoint GetCloseTime(const std::string& key);
    void WaitUntilIdle(const std::string& key);
    // Blocks until the connection may be closed; connectionMutex_ is held then, so that no use comes in between.
    std::unique_lock<std::shared_mutex> LockWhenIdle(const std::string& key);

    std::shared_mutex connectionMutex_;
    std::shared_mutex disconnectMutex_;
    std::unordered_map<std::string, sptr<AbilityConnectionImp>> abilityConnectionImps_;  // guarded by connectionMutex_
    std::unordered_map<std::string, std::function<void()>> disconnectTasks_;             // guarded by connectionMutex_
    std::unordered_map<std::string, TimeSource::TimePoint> disconnectTimes_;             // guarded by disconnectMutex_
};

}  // namespace ZYNE::CollaborationFwk
