// Installed apps: the bundle manager, resource files, and connections to service extensions.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/ability/ability_manager_client.h"
#include "platform/ability/extension_manager_client.h"
#include "platform/bundle/bundle_mgr.h"
#include "platform/host/host_ability_manager.h"
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// Any thread; but public members are set while no other thread calls.
class FakeApps final : public AbilityManagerClient,
                       public ExtensionManagerClient,
                       public CollaborationFwk::HostAbilityManager,
                       public FakeCalls {
public:
    explicit FakeApps(Journal& journal);

    // "ConnectAbility(bundle, ability, user)". The connection is kept until the test completes it.
    int32_t ConnectAbility(const Want& want, const sptr<IAbilityConnection>& connection, int32_t userId) override;
    int32_t DisconnectAbility(const sptr<IAbilityConnection>& connection) override;
    // "ConnectServiceExtensionAbility(bundle, ability, parameter=value ..., token, user)"; otherwise the same.
    int32_t ConnectServiceExtensionAbility(const Want& want, const sptr<IAbilityConnection>& connection,
        const sptr<IRemoteObject>& callerToken, int32_t userId) override;

    // The last connection that was asked for is made, or fails with a null remote.
    void Connect(const sptr<IRemoteObject>& remote, int resultCode = 0);
    // The platform reports the end of that connection.
    void Disconnect(int resultCode = 0);

    // The host's way to the bundle manager; null when that does not run.
    sptr<IBundleMgr> GetBundleManagerProxy() override;
    // The bundle manager as a system ability.
    sptr<IRemoteObject> GetBundleManager() const { return bundleManager_; }
    // Appends the texts of a bundle; false when there are none.
    bool ReadResources(
        const std::string& bundleName, const std::string& metadataName, std::vector<std::string>& profiles) const;

    std::vector<AbilityInfo> abilities;
    std::vector<ExtensionAbilityInfo> extensions;
    std::map<std::string, std::vector<std::string>> resources;  // by bundle name
    std::map<std::string, ApplicationInfo> applications;        // by bundle name
    bool hasBundleManager = true;                               // for the host
    // Told of each connection that is asked for.
    std::function<void(const ElementName& element, const sptr<IAbilityConnection>& connection)> onConnect;

private:
    class BundleManager;

    int32_t TakeConnection(const Want& want, const sptr<IAbilityConnection>& connection, const std::string& operation,
        const std::string& arguments);

    std::pair<ElementName, sptr<IAbilityConnection>> GetConnection();

    std::mutex mutex_;
    sptr<IAbilityConnection> connection_;  // guarded by mutex_
    ElementName element_;                  // guarded by mutex_
    sptr<IRemoteObject> bundleManager_;
};

}  // namespace ZYNE::Testing
