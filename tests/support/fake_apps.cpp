#include "tests/support/fake_apps.h"

namespace ZYNE::Testing {

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
        Write("QueryAbilityInfosV9", want, flags, userId);
        infos = owner_.abilities;
        return owner_.abilityQueryResult;
    }
    int32_t QueryExtensionAbilityInfosV9(
        const Want& want, int32_t flags, int32_t userId, std::vector<ExtensionAbilityInfo>& infos) override {
        Write("QueryExtensionAbilityInfosV9", want, flags, userId);
        infos = owner_.extensions;
        return owner_.extensionQueryResult;
    }
    int32_t GetApplicationInfo(const std::string&, int32_t, int32_t, ApplicationInfo&) override { return 1; }

private:
    void Write(const std::string& name, const Want& want, int32_t flags, int32_t userId) {
        owner_.journal_.Call(
            name + "(" + want.GetAction() + ", " + std::to_string(flags) + ", " + std::to_string(userId) + ")");
    }

    FakeApps& owner_;
};

FakeApps::FakeApps(Journal& journal) : journal_(journal), bundleManager_(MakeSptr<BundleManager>(*this)) {}

int32_t FakeApps::ConnectAbility(const Want& want, const sptr<IAbilityConnection>& connection, int32_t userId) {
    element_ = want.GetElement();
    journal_.Call("ConnectAbility(" + element_.GetBundleName() + ", " + element_.GetAbilityName() + ", " +
        std::to_string(userId) + ")");
    connection_ = connection;
    return connectResult;
}

int32_t FakeApps::DisconnectAbility(const sptr<IAbilityConnection>& connection) {
    journal_.Call(std::string("DisconnectAbility(") + (connection == connection_ ? "known" : "unknown") + ")");
    return 0;
}

void FakeApps::Connect(const sptr<IRemoteObject>& remote, int resultCode) {
    connection_->OnAbilityConnectDone(element_, remote, resultCode);
}

void FakeApps::Disconnect() {
    connection_->OnAbilityDisconnectDone(element_, 0);
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
