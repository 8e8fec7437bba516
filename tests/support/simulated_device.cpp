#include "tests/support/simulated_device.h"

#include <atomic>
#include <new>

#include "platform/bundle/bundle_mgr_client.h"
#include "platform/host/picker_result.h"
#include "platform/host/system_partition.h"
#include "plugin/datashare/datashare_manager.h"
#include "plugin/datashare/oobe_status_dependency.h"
#include "plugin/device_profile/device_profile_manager.h"
#include "plugin/info_collection/app_info_collection.h"
#include "plugin/info_collection/info_collection_manager.h"
#include "plugin/info_collection/info_collection_process.h"
#include "plugin/info_collection/info_collection_service.h"
#include "plugin/info_collection/request_sa_manager.h"
#include "plugin/key_mouse/key_mouse_listener_set.h"
#include "plugin/key_mouse/key_mouse_service_manager.h"

namespace ZYNE {

using Testing::SimulatedDevice;

namespace Testing {
namespace {

std::atomic<SimulatedDevice*> g_current{nullptr};

}  // namespace

SimulatedDevice& SimulatedDevice::Boot() {
    static auto* const boot = new SimulatedDevice;
    return *boot;
}

SimulatedDevice& SimulatedDevice::Current() {
    SimulatedDevice* current = g_current;
    return current != nullptr ? *current : Boot();
}

SimulatedDevice::SimulatedDevice() : previous_(g_current.exchange(this)) {
    systemAbilities.running = {{401, apps.GetBundleManager()}, {70635, MakeRemote("profiles")}};
}

SimulatedDevice::~SimulatedDevice() {
    g_current = previous_;
}

LibraryTest::LibraryTest() {
    CollaborationFwk::LibraryRenewer::RenewAll();
    device.journal.Clear();
}

LibraryTest::~LibraryTest() {
    CollaborationFwk::LibraryRenewer::RenewAll();
}

}  // namespace Testing

LogService& LogService::GetInstance() {
    return SimulatedDevice::Current().journal;
}

TimeSource& TimeSource::GetInstance() {
    return SimulatedDevice::Current().time;
}

SystemAbilityManagerClient& SystemAbilityManagerClient::GetInstance() {
    return SimulatedDevice::Current().systemAbilities;
}

AbilityManagerClient* AbilityManagerClient::GetInstance() {
    return &SimulatedDevice::Current().apps;
}

ExtensionManagerClient& ExtensionManagerClient::GetInstance() {
    return SimulatedDevice::Current().apps;
}

bool BundleMgrClient::GetResConfigFile(
    const AbilityInfo& info, const std::string& metadataName, std::vector<std::string>& profiles) const {
    return SimulatedDevice::Current().apps.ReadResources(info.bundleName, metadataName, profiles);
}

bool BundleMgrClient::GetResConfigFile(
    const ExtensionAbilityInfo& info, const std::string& metadataName, std::vector<std::string>& profiles) const {
    return SimulatedDevice::Current().apps.ReadResources(info.bundleName, metadataName, profiles);
}

std::shared_ptr<DataShareHelper> DataShareHelper::Creator(
    const sptr<IRemoteObject>& token, const std::string& uri, const std::string& extUri, int waitTimeSeconds) {
    return SimulatedDevice::Current().dataShare.Create(token, uri, extUri, waitTimeSeconds);
}

DeviceManager& DeviceManager::GetInstance() {
    return SimulatedDevice::Current().deviceManager;
}

InputManager* InputManager::GetInstance() {
    return &SimulatedDevice::Current().input;
}

DisplayManager& DisplayManager::GetInstance() {
    return SimulatedDevice::Current().input;
}

InteractionManager* InteractionManager::GetInstance() {
    return &SimulatedDevice::Current().input;
}

PowerMgrClient& PowerMgrClient::GetInstance() {
    return SimulatedDevice::Current().users;
}

bool CommonEventManager::SubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber) {
    Testing::FakeUsers& users = SimulatedDevice::Current().users;
    if (!users.refusesSubscribers) {
        users.subscribers.push_back(subscriber);
    }
    return !users.refusesSubscribers;
}

int32_t OsAccountManager::GetForegroundOsAccountLocalId(int32_t& localId) {
    const Testing::FakeUsers& users = SimulatedDevice::Current().users;
    localId = users.foreground;
    return users.foregroundCode;
}

int32_t OsAccountManager::GetOsAccountType(int32_t localId, OsAccountType& type) {
    const Testing::FakeUsers& users = SimulatedDevice::Current().users;
    const auto found = users.types.find(localId);
    type = found != users.types.end() ? found->second : OsAccountType::NORMAL;
    return users.typeCode;
}

namespace CollaborationFwk {

void LibraryRenewer::RenewAll() {
    Singleton<InfoCollectionService>::Renew();
    Singleton<RequestSAManager>::Renew();
    Singleton<InfoCollectionManager>::Renew();
    Singleton<AppInfoCollection>::Renew();
    Singleton<DeviceProfileManager>::Renew();
    Singleton<DataShareManager>::Renew();
    Singleton<OobeStatusDependency>::Renew();
    Singleton<KeyMouseListenerSet>::Renew();
    Singleton<KeyMouseServiceManager>::Renew();
    delete InfoCollectionProcess::instance_.exchange(nullptr);
    PluginLoader::GetLoader().RegisterInstance(PluginType::INFO_COLLECTION, InfoCollectionProcess::GetInstance());
}

HostAbilityManager& HostAbilityManager::GetInstance() {
    return SimulatedDevice::Current().apps;
}

PluginLoader& PluginLoader::GetLoader() {
    return SimulatedDevice::Current().host;
}

ListenerManager* ListenerManager::GetInstance() {
    Testing::FakeHost& host = SimulatedDevice::Current().host;
    return host.hasListenerManager ? &host : nullptr;
}

CrossDeviceProtocol& CrossDeviceProtocol::GetInstance() {
    return SimulatedDevice::Current().host;
}

SessionManager* SessionManager::GetInstance() {
    return &SimulatedDevice::Current().host;
}

AsynThreadPool* AsynThreadPool::GetInstance() {
    return &SimulatedDevice::Current().pool;
}

uint32_t CollaborationFwkServiceUtils::ObtainIdleCollaborationId() {
    return SimulatedDevice::Current().host.nextCollaborationId++;
}

sptr<DeviceInfo> CollaborationFwkServiceUtils::GetLocalDeviceInfo() {
    return SimulatedDevice::Current().host.localDevice;
}

std::string CollaborationFwkServiceUtils::GetPeerDeviceUdid(const std::string& networkId) {
    return SimulatedDevice::Current().host.FindUdid(networkId);
}

DeviceProfileClient& DeviceProfileClient::GetInstance() {
    return SimulatedDevice::Current().profiles;
}

int32_t DataShareUtils::QueryStringValue(const std::string& uri, const std::string& key, std::string& value) {
    return SimulatedDevice::Current().dataShare.QueryStringValue(uri, key, value);
}

std::shared_ptr<DataShareHelper> DataShareUtils::GetDataShareHelper(const std::string& uri, int32_t systemAbilityId) {
    return SimulatedDevice::Current().dataShare.GetDataShareHelper(uri, systemAbilityId);
}

std::string SystemPartition::Locate(const std::string& path) {
    return SimulatedDevice::Current().systemRoot + path;
}

}  // namespace CollaborationFwk
}  // namespace ZYNE
