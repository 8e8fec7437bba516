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
    explicit FakeApps(Journal& journal) : FakeCalls(journal) {}

    // "ConnectAbility(bundle, ability, user)". The connection is kept until the test completes it.
    int32_t ConnectAbility(const Want& want, const sptr<IAbilityConnection>& connection, int32_t userId) override {
        return TakeConnection(want, connection, "ConnectAbility", std::to_string(userId));
    }
    // "ConnectServiceExtensionAbility(bundle, ability, parameter=value ..., token, user)"; otherwise the same.
    int32_t ConnectServiceExtensionAbility(const Want& want, const sptr<IAbilityConnection>& connection,
        const sptr<IRemoteObject>& callerToken, int32_t userId) override {
        std::string params;
        for (const auto& [name, value] : want.GetParams()) {
            params += name + (value ? "=true, " : "=false, ");
        }
        return TakeConnection(want, connection, "ConnectServiceExtensionAbility",
            params + (callerToken ? "token, " : "null, ") + std::to_string(userId));
    }
    int32_t DisconnectAbility(const sptr<IAbilityConnection>& connection) override {
        return Call("DisconnectAbility", connection == GetConnection().second ? "known" : "unknown");
    }

    // The last connection that was asked for is made, or fails with a null remote.
    void Connect(const sptr<IRemoteObject>& remote, int resultCode = 0) {
        const auto [element, connection] = GetConnection();
        connection->OnAbilityConnectDone(element, remote, resultCode);
    }
    // The platform reports the end of that connection.
    void Disconnect(int resultCode = 0) {
        const auto [element, connection] = GetConnection();
        connection->OnAbilityDisconnectDone(element, resultCode);
    }

    // The host's way to the bundle manager; null when that does not run.
    sptr<IBundleMgr> GetBundleManagerProxy() override {
        return hasBundleManager ? iface_cast<IBundleMgr>(bundleManager_) : nullptr;
    }
    // The bundle manager as a system ability.
    sptr<IRemoteObject> GetBundleManager() const { return bundleManager_; }
    // Appends the texts of a bundle; false when there are none.
    bool ReadResources(
        const std::string& bundleName, const std::string& metadataName, std::vector<std::string>& profiles) const {
        const auto found = resources.find(bundleName);
        if (found == resources.end() || metadataName != "collaborationFwk.infoCollection.configFile") {
            return false;
        }
        profiles.insert(profiles.end(), found->second.begin(), found->second.end());
        return true;
    }

    std::vector<AbilityInfo> abilities;
    std::vector<ExtensionAbilityInfo> extensions;
    std::map<std::string, std::vector<std::string>> resources;  // by bundle name
    std::map<std::string, ApplicationInfo> applications;        // by bundle name
    bool hasBundleManager = true;                               // for the host
    // Told of each connection that is asked for.
    std::function<void(const sptr<IAbilityConnection>& connection)> onConnect;

private:
    // In this process, so a remote object and the interface at once.
    struct BundleManager final : IRemoteObject, IBundleMgr {
        explicit BundleManager(FakeApps& fake) : owner(fake) {}

        sptr<IRemoteObject> AsObject() override { return sptr<IRemoteObject>(this); }
        int32_t SendRequest(uint32_t, MessageParcel&, MessageParcel&, MessageOption&) override { return REFUSED; }
        bool AddDeathRecipient(const sptr<DeathRecipient>&) override { return true; }
        bool RemoveDeathRecipient(const sptr<DeathRecipient>&) override { return true; }
        int32_t QueryAbilityInfosV9(
            const Want& want, int32_t flags, int32_t userId, std::vector<AbilityInfo>& infos) override {
            infos = owner.abilities;
            return Call("QueryAbilityInfosV9", want.GetAction(), flags, userId);
        }
        int32_t QueryExtensionAbilityInfosV9(
            const Want& want, int32_t flags, int32_t userId, std::vector<ExtensionAbilityInfo>& infos) override {
            infos = owner.extensions;
            return Call("QueryExtensionAbilityInfosV9", want.GetAction(), flags, userId);
        }
        int32_t GetApplicationInfo(
            const std::string& bundleName, int32_t flags, int32_t userId, ApplicationInfo& info) override {
            const int32_t code = Call("GetApplicationInfo", bundleName, flags, userId);
            const auto found = owner.applications.find(bundleName);
            if (code != 0 || found == owner.applications.end()) {
                return code != 0 ? code : 1;
            }
            info = found->second;
            return 0;
        }
        int32_t Call(const std::string& operation, const std::string& what, int32_t flags, int32_t userId) {
            return owner.Call(operation, what + ", " + std::to_string(flags) + ", " + std::to_string(userId));
        }

        FakeApps& owner;
    };

    int32_t TakeConnection(const Want& want, const sptr<IAbilityConnection>& connection, const std::string& operation,
        const std::string& arguments) {
        const ElementName& element = want.GetElement();
        {
            std::lock_guard lock(mutex_);
            connection_ = {element, connection};
        }
        if (onConnect) {
            onConnect(connection);
        }
        return Call(operation, element.GetBundleName() + ", " + element.GetAbilityName() + ", " + arguments);
    }

    std::pair<ElementName, sptr<IAbilityConnection>> GetConnection() {
        std::lock_guard lock(mutex_);
        return connection_;
    }

    std::mutex mutex_;
    std::pair<ElementName, sptr<IAbilityConnection>> connection_;  // the last; guarded by mutex_
    const sptr<IRemoteObject> bundleManager_ = MakeSptr<BundleManager>(*this);
};

}  // namespace ZYNE::Testing
