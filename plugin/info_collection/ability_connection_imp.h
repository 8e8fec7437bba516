// One connection to the service extension of an app that offers dynamic info.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <string>

#include "platform/ability/ability_connection.h"
#include "plugin/info_collection/ability_connection_death_recipient.h"

namespace ZYNE::CollaborationFwk {

// Any thread; held by sptr. Callbacks come on threads of the port while queries run on others. No lock is held across a
// call into the port. Lock order: connectMutex_, then proxyMutex_.
class AbilityConnectionImp final : public AbilityConnectionStub {
public:
    // Asks for the connection; OnAbilityConnectDone tells when it is there. The port's result.
    int32_t ConnectAbility(const std::string& bundleName, const std::string& serviceName);
    // Asks for its end; OnAbilityDisconnectDone tells. The port's result.
    int32_t DisconnectAbility(const std::string& bundleName, const std::string& serviceName);

    void OnAbilityConnectDone(
        const ElementName& element, const sptr<IRemoteObject>& remoteObject, int resultCode) override;
    void OnAbilityDisconnectDone(const ElementName& element, int resultCode) override;

    // Sets the proxy, and takes the watch off the one before.
    void SetProxy(sptr<IRemoteObject> proxy);
    sptr<IRemoteObject> GetProxy();
    bool IsProxyNull();
    bool IsServiceConnected();

    // Asks the service for the item `key` with the request code `code`. Waits up to 500 milliseconds for a connection
    // that is being made and eight seconds for the answer. Empty when there is none.
    std::string QueryDeviceDynamicInfo(int code, const std::string& key);

private:
    // The proxy, or null when none arrives in time.
    sptr<IRemoteObject> WaitForProxy();
    // Watches the proxy. False when memory is out.
    bool WatchForDeath();
    bool IsWatchedBy(const sptr<AbilityConnectionDeathRecipient>& recipient);
    void OnServiceDied(const sptr<IRemoteObject>& remote);
    // Forgets the proxy, and who watches it, if it still is `remote`.
    void EndConnection(const sptr<IRemoteObject>& remote);

    std::mutex connectMutex_;            // a query waits under it; whoever brings a proxy passes through it
    std::condition_variable connectCv_;  // a proxy has arrived
    std::shared_mutex proxyMutex_;
    sptr<IRemoteObject> proxy_;                             // guarded by proxyMutex_; null while there is no connection
    std::string bundleName_;                                // guarded by proxyMutex_
    std::string serviceName_;                               // guarded by proxyMutex_
    sptr<AbilityConnectionDeathRecipient> deathRecipient_;  // guarded by proxyMutex_; watches proxy_
    std::atomic<bool> isConnected_{false};
};

}  // namespace ZYNE::CollaborationFwk
