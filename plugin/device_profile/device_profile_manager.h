// Subscribes the profiles of peers while they are online, tells of their changes, and reads and writes characteristics.
//
//     DeviceProfileManager& profiles = DeviceProfileManager::GetInstance();
//     profiles.HandleDeviceProfileChange(DEVICE_STATE_ONLINE, peer);  // as the device manager reports it
//     std::string volume = profiles.GetSyncData(peerUdid, "volume", R"({"serviceName":"sound"})");
//
// Of every peer of the same account it subscribes the key-mouse switch, the info that the peer's apps offer, three more
// characteristics if the peer is a TV, and the pairs that RegisterSubscribeInfoListener brings.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/device_manager/dm_device_info.h"
#include "platform/device_profile/characteristic_profile.h"
#include "platform/device_profile/subscribe_info.h"
#include "platform/host/device_info.h"
#include "plugin/device_profile/service_collect_pair_info.h"
#include "plugin/device_profile/sync_profile_change_type.h"
#include "plugin/export.h"
#include "plugin/utils/singleton.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Only UnsubscribeOfflineDevice holds a lock, mutex_, across calls into the port. Registered functions are
// called without a lock, on the thread that brings the change, and may register others; they must not throw.
class DeviceProfileManager {
public:
    // Receives the changes of one peer's characteristics; see subscribe_dp_change_listener.h.
    class SubscribeDPChangeListener;

    using ProfileChangeListener = std::function<void(CharacteristicProfile, SyncProfileChangeType)>;
    using CollectedPairs = std::vector<std::shared_ptr<ServiceCollectPairInfo>>;
    using SubscribeInfoListener = std::function<CollectedPairs()>;
    using SuperDeviceListener = std::function<void(int)>;

    CFWK_EXPORT static DeviceProfileManager& GetInstance();

    // For the host to call at every state change of a trusted peer; `state` is a DmDeviceState. Peers of another
    // account and states that are not known are passed over.
    CFWK_EXPORT void HandleDeviceProfileChange(int state, const DmDeviceInfo& info);

    // Each replaces the function that was there, for later changes and devices; an empty function takes it away. A call
    // of the old one that is under way may still be running afterwards.
    CFWK_EXPORT void RegisterProfileChangeListener(ProfileChangeListener listener);
    CFWK_EXPORT void RegisterSubscribeInfoListener(SubscribeInfoListener listener);
    // Has `listener` told of every characteristic change if `name` is SUPER_DEVICE_DP_CHANGE_LISTENER_KEY. The first
    // function under a name stays.
    CFWK_EXPORT void RegisterSuperDeviceProfileChangeListenerMap(std::string name, SuperDeviceListener listener);

    // The value of the characteristic `key` of the device with the udid `deviceId`, as it is known here. `extraInfo` is
    // {"serviceName": "..."}. Empty on any failure.
    CFWK_EXPORT std::string GetSyncData(
        const std::string& deviceId, const std::string& key, const std::string& extraInfo);

    // Publishes `value` as this device's characteristic `key`. `extraInfo` is
    // {"serviceName": "...", "serviceType": "..."}. 0; -1 this device is not known, or `extraInfo` is something else;
    // otherwise the port's code.
    CFWK_EXPORT int32_t PutSyncData(const std::string& key, const std::string& value, const std::string& extraInfo);

    // Publishes `info` as what this device's apps offer. 0; otherwise the port's code.
    int32_t PutInfoCollectionWithJson(Json::Value& info);

    // Records the device as online and subscribes its characteristics; what cannot be subscribed is left out. 0; 1001
    // no device; 2206 it is recorded already; 2213 memory is out, the device stays recorded.
    int32_t SubscribeOnlineDevice(sptr<DeviceInfo> device);
    // Ends its subscriptions and forgets the device. 0; 1001 no device; 2207 it is not recorded, or had no
    // subscriptions.
    int32_t UnsubscribeOfflineDevice(sptr<DeviceInfo> device);
    // What is subscribed of TVs alone.
    void AddDeviceProfileSubscribe(sptr<IProfileChangeListener> listener, const std::string& udid, uint32_t deviceType);
    // Subscribes one characteristic and records it by `characteristicKey` alone: of two with the same key only the
    // later is unsubscribed. 0; otherwise the port's code, and nothing is recorded.
    int32_t SubscribeOnlineDeviceInternal(const std::string& udid, sptr<IProfileChangeListener> listener,
        const std::string& serviceName, const std::string& characteristicKey);
    void ExecuteSuperDeviceProfileChangeListener();

private:
    friend class Singleton<DeviceProfileManager>;

    DeviceProfileManager() = default;
    ~DeviceProfileManager() = default;

    // False when the device was recorded before.
    bool RecordDevice(const DeviceInfo& device);
    // What the registered function wants subscribed; nothing when there is none.
    CollectedPairs CollectPairs();
    ProfileChangeListener GetProfileChangeListener();
    std::optional<SuperDeviceListener> FindSuperDeviceListener();

    std::mutex listenerMutex_;                     // never held together with mutex_
    ProfileChangeListener profileChangeListener_;  // guarded by listenerMutex_
    SubscribeInfoListener subscribeInfoListener_;  // guarded by listenerMutex_
    std::unordered_map<std::string, SuperDeviceListener> deviceProfileChangeListenerMap_;  // guarded by listenerMutex_

    std::mutex mutex_;
    std::unordered_map<std::string, std::shared_ptr<DeviceInfo>> deviceMap_;  // by udid; guarded by mutex_
    // By udid, then by characteristic key; guarded by mutex_.
    std::unordered_map<std::string, std::map<std::string, SubscribeInfo>> profileMap_;
};

}  // namespace ZYNE::CollaborationFwk
