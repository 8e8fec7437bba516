#include "tests/support/fake_apps.h"

namespace ZYNE::Testing {
namespace {

std::string Describe(const Want& want) {
    return want.GetElement().GetBundleName() + ", " + want.GetElement().GetAbilityName() + ", ";
}

std::string Describe(const std::string& what, int32_t flags, int32_t userId) {
    return what + ", " + std::to_string(flags) + ", " + std::to_string(userId);
}

}  // namespace

// In this process, so a remote object and the interface at once.
class FakeApps::BundleManager final : public IRemoteObject, public IBundleMgr {
public:
    explicit BundleManager(FakeApps& owner) : owner_(owner) {}

    sptr<IRemoteObject> AsObject() override { return sptr<IRemoteObject>(this); }
    int32_t SendRequest(uint32_t, MessageParcel&, MessageParcel&, MessageOption&) override { return REFUSED; }
    bool AddDeathRecipient(const sptr<DeathRecipient>&) override { return true; }
    bool RemoveDeathRecipient(const sptr<DeathRecipient>&) override { return true; }

    int32_t QueryAbilityInfosV9(
        const Want& want, int32_t flags, int32_t userId, std::vector<AbilityInfo>& infos) override {
        infos = owner_.abilities;
        return owner_.Call("QueryAbilityInfosV9", Describe(want.GetAction(), flags, userId));
    }
    int32_t QueryExtensionAbilityInfosV9(
        const Want& want, int32_t flags, int32_t userId, std::vector<ExtensionAbilityInfo>& infos) override {
        infos = owner_.extensions;
        return owner_.Call("QueryExtensionAbilityInfosV9", Describe(want.GetAction(), flags, userId));
    }
    int32_t GetApplicationInfo(
        const std::string& bundleName, int32_t flags, int32_t userId, ApplicationInfo& info) override {
        const int32_t code = owner_.Call("GetApplicationInfo", Describe(bundleName, flags, userId));
        const auto found = owner_.applications.find(bundleName);
        if (code != 0 || found == owner_.applications.end()) {
            return code != 0 ? code : 1;
        }
        info = found->second;
        return 0;
    }

private:
    FakeApps& owner_;
};

FakeApps::FakeApps(Journal& journal) : FakeCalls(journal), bundleManager_(MakeSptr<BundleManager>(*this)) {}

int32_t FakeApps::ConnectAbility(const Want& want, const sptr<IAbilityConnection>& connection, int32_t userId) {
    return TakeConnection(want, connection, "ConnectAbility", Describe(want) + std::to_string(userId));
}

int32_t FakeApps::ConnectServiceExtensionAbility(const Want& want, const sptr<IAbilityConnection>& connection,
    const sptr<IRemoteObject>& callerToken, int32_t userId) {
    std::string params;
    for (const auto& [name, value] : want.GetParams()) {
        params += name + (value ? "=true, " : "=false, ");
    }
    return TakeConnection(want, connection, "ConnectServiceExtensionAbility",
        Describe(want) + params + (callerToken ? "token, " : "null, ") + std::to_string(userId));
}

int32_t FakeApps::TakeConnection(const Want& want, const sptr<IAbilityConnection>& connection,
    const std::string& operation, const std::string& arguments) {
    {
        std::lock_guard lock(mutex_);
        element_ = want.GetElement();
        connection_ = connection;
    }
    if (onConnect) {
        onConnect(want.GetElement(), connection);
    }
    return Call(operation, arguments);
}

std::pair<ElementName, sptr<IAbilityConnection>> FakeApps::GetConnection() {
    std::lock_guard lock(mutex_);
    return {element_, connection_};
}

sptr<IBundleMgr> FakeApps::GetBundleManagerProxy() {
    return hasBundleManager ? iface_cast<IBundleMgr>(bundleManager_) : nullptr;
}

int32_t FakeApps::DisconnectAbility(const sptr<IAbilityConnection>& connection) {
    return Call("DisconnectAbility", connection == GetConnection().second ? "known" : "unknown");
}

void FakeApps::Connect(const sptr<IRemoteObject>& remote, int resultCode) {
    const auto [element, connection] = GetConnection();
    connection->OnAbilityConnectDone(element, remote, resultCode);
}

void FakeApps::Disconnect(int resultCode) {
    const auto [element, connection] = GetConnection();
    connection->OnAbilityDisconnectDone(element, resultCode);
}

bool FakeApps::ReadResources(
    const std::string& bundleName, const std::string& metadataName, std::vector<std::string>& profiles) const {
    const auto found = resources.find(bundleName);
    if (found == resources.end() || metadataName != "collaborationFwk.infoCollection.configFile") {
        return false;
    }
    profiles.insert(profiles.end(), found->second.begin(), found->second.end());
    return true;
}

}  // namespace ZYNE::Testing
