// What the seam leaves to the port to define: each question goes to the device.
#include <atomic>
#include <random>

#include "linux/apps/bundle_resources.h"
#include "linux/datashare/linux_data_share_helper.h"
#include "linux/device/loaded_library.h"
#include "linux/device/payload_access.h"
#include "linux/linux_device.h"
#include "platform/account/os_account_manager.h"
#include "platform/bundle/bundle_mgr_client.h"
#include "platform/event/common_event_manager.h"
#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/host_ability_manager.h"
#include "platform/host/system_partition.h"
#include "platform/system_ability/system_ability_manager_client.h"

namespace ZYNE {

using Linux::LinuxDevice;
using Linux::LoadedLibrary;

namespace {

class AbilityManagerOfDevice final : public SystemAbilityManagerClient {
public:
    // None while the bus is not up.
    sptr<ISystemAbilityManager> GetSystemAbilityManager() override {
        LinuxDevice& device = LinuxDevice::Current();
        return device.bus.GetClient() != nullptr ? device.abilities : nullptr;
    }
};

class BundleManagerOfDevice final : public CollaborationFwk::HostAbilityManager {
public:
    sptr<IBundleMgr> GetBundleManagerProxy() override { return LinuxDevice::Current().bundles; }
};

}  // namespace

LogService& LogService::GetInstance() {
    return Linux::LinuxLog::Get();
}

TimeSource& TimeSource::GetInstance() {
    return LinuxDevice::Current().time;
}

SystemAbilityManagerClient& SystemAbilityManagerClient::GetInstance() {
    static auto& client = *new AbilityManagerOfDevice();
    return client;
}

AbilityManagerClient* AbilityManagerClient::GetInstance() {
    return &LinuxDevice::Current().apps;
}

ExtensionManagerClient& ExtensionManagerClient::GetInstance() {
    return LinuxDevice::Current().apps;
}

bool BundleMgrClient::GetResConfigFile(
    const AbilityInfo& info, const std::string& metadataName, std::vector<std::string>& profiles) const {
    return Linux::AppendProfiles(
        *LinuxDevice::Current().bundles->GetCatalogue(), info.bundleName, info.metadata, metadataName, profiles);
}

bool BundleMgrClient::GetResConfigFile(
    const ExtensionAbilityInfo& info, const std::string& metadataName, std::vector<std::string>& profiles) const {
    return Linux::AppendProfiles(
        *LinuxDevice::Current().bundles->GetCatalogue(), info.bundleName, info.metadata, metadataName, profiles);
}

std::shared_ptr<DataShareHelper> DataShareHelper::Creator(
    const sptr<IRemoteObject>& token, const std::string& uri, const std::string& extUri, int waitTimeSeconds) {
    return Linux::MakeDataShareHelper(LinuxDevice::Current().shares, token, uri, extUri, waitTimeSeconds);
}

DeviceManager& DeviceManager::GetInstance() {
    return LinuxDevice::Current().deviceManager;
}

InputManager* InputManager::GetInstance() {
    return &LinuxDevice::Current().input;
}

DisplayManager& DisplayManager::GetInstance() {
    return LinuxDevice::Current().input;
}

InteractionManager* InteractionManager::GetInstance() {
    return &LinuxDevice::Current().interaction;
}

PowerMgrClient& PowerMgrClient::GetInstance() {
    return *LinuxDevice::Current().power;
}

bool CommonEventManager::SubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber) {
    return LinuxDevice::Current().events.Subscribe(subscriber);
}

int32_t OsAccountManager::GetForegroundOsAccountLocalId(int32_t& localId) {
    return LinuxDevice::Current().users.GetForeground(localId);
}

int32_t OsAccountManager::GetOsAccountType(int32_t localId, OsAccountType& type) {
    return LinuxDevice::Current().users.GetType(localId, type);
}

namespace CollaborationFwk {

PluginLoader& PluginLoader::GetLoader() {
    return LoadedLibrary::Get().plugins;
}

ListenerManager* ListenerManager::GetInstance() {
    return &LoadedLibrary::Get().listeners;
}

AsynThreadPool* AsynThreadPool::GetInstance() {
    return &LinuxDevice::Current().pool;
}

HostAbilityManager& HostAbilityManager::GetInstance() {
    static auto& manager = *new BundleManagerOfDevice();
    return manager;
}

DeviceProfileClient& DeviceProfileClient::GetInstance() {
    return LinuxDevice::Current().profiles;
}

SessionManager* SessionManager::GetInstance() {
    return &LinuxDevice::Current().sessions;
}

CrossDeviceProtocol& CrossDeviceProtocol::GetInstance() {
    static auto& access = *new Linux::PayloadAccess();
    return access;
}

std::string SystemPartition::Locate(const std::string& path) {
    return LinuxDevice::Current().systemRoot.Locate(path);
}

// Counts from a random number: an id comes again after 2^32 requests, long after the one that had it is over, and what
// is meant for an earlier run of this device does not hit a request of this one but by chance.
uint32_t CollaborationFwkServiceUtils::ObtainIdleCollaborationId() {
    static std::atomic<uint32_t> next(std::random_device{}());
    return next.fetch_add(1);
}

sptr<DeviceInfo> CollaborationFwkServiceUtils::GetLocalDeviceInfo() {
    const auto local = LinuxDevice::Current().network.LocalDevice();
    return local ? MakeSptr<DeviceInfo>(local->deviceId, local->networkId, local->deviceName, local->deviceTypeId)
                 : nullptr;
}

std::string CollaborationFwkServiceUtils::GetPeerDeviceUdid(const std::string& networkId) {
    return LinuxDevice::Current().network.UdidOf(networkId);
}

}  // namespace CollaborationFwk
}  // namespace ZYNE
