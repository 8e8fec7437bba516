// The distributed device profile: what this device publishes, kept over restarts, and what its peers publish.
//
//     ProfileService profiles(pool, notes);
//     profiles.Open(stateDirectory / "profiles.db", udid);      // before the library's first call
//     fabric.Start(options);                                    // joins the network by itself
//     ...
//     fabric.Stop();
//     profiles.Close();                                         // before the library is unloaded
//
// What is put before the network is joined is published when it is. A put that is answered with 0 outlasts the
// process, however that ends; only a crash of the machine may lose the last of them. That makes a put cheap: it does
// not wait for the disk.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/device_notes.h"
#include "linux/base/mutex.h"
#include "linux/base/thread_pool.h"
#include "linux/profile/profile_code.h"
#include "linux/profile/profile_network.h"
#include "linux/profile/profile_store.h"
#include "linux/profile/profile_subscriptions.h"
#include "linux/profile/profile_table.h"
#include "platform/host/device_profile_client.h"

namespace ZYNE::Linux {

// Any thread, also inside listeners and with locks held that listeners take, unless said otherwise. Listeners are
// called on a thread of its own, one call at a time: one that blocks holds up the other listeners, but neither what
// arrives nor what is put or read.
//
// Before Open and after Close every operation gives PROFILE_NOT_READY. Names have at most 255 bytes and no zero byte,
// values at most 4 MiB; a device has at most 4096 profiles of 16 MiB together. What a peer publishes beyond that is
// refused, and logged once.
class ProfileService final : public CollaborationFwk::DeviceProfileClient, public ProfileInlet {
public:
    static constexpr const char* LOCAL_DEVICE = "LOCAL";

    // A characteristic, and the type of its service; empty when the device has not told it.
    struct KnownProfile {
        CharacteristicProfile profile;
        std::string serviceType;
    };
    // A characteristic of any device, this one included. One that is deleted is given as it was last.
    using Watcher = ProfileSubscriptions::Watcher;

    ProfileService(ThreadPool& pool, DeviceNotes& notes);
    ProfileService(const ProfileService&) = delete;
    ProfileService& operator=(const ProfileService&) = delete;
    // Closes.
    ~ProfileService();

    // Reads what this device, `udid`, published in earlier runs from `file`, which is made when it is not there. Throws
    // std::runtime_error with one line. To be called while closed.
    void Open(const std::filesystem::path& file, const std::string& udid);

    // Ends all subscriptions and forgets the peers. Waits for a listener that runs; none is called any more and none is
    // held when it returns. The network has been left before. Not to be called by a listener. Does nothing when closed.
    void Close();

    // A peer's profile, or this device's under its udid or LOCAL_DEVICE: 0 or PROFILE_UNKNOWN.
    int32_t GetCharacteristicProfile(const std::string& deviceId, const std::string& serviceName,
        const std::string& characteristicKey, CharacteristicProfile& profile) override;

    // 0, PROFILE_NOT_OWN, PROFILE_INVALID_ARGUMENT, PROFILE_TOO_LARGE, PROFILE_TOO_MANY or PROFILE_STORE_FAILED. What
    // is equal to what is there is no change. A put never waits for a peer: each gets the value as soon as it takes it.
    int32_t PutServiceProfile(const ServiceProfile& profile) override;
    int32_t PutCharacteristicProfile(const CharacteristicProfile& profile) override;

    // Takes back what this device published: 0, PROFILE_UNKNOWN or PROFILE_STORE_FAILED.
    int32_t Delete(const std::string& serviceName, const std::string& characteristicKey);

    // 0 or PROFILE_INVALID_ARGUMENT. The same key and listener again replaces the subscription. The key's device id may
    // be this device's own.
    int32_t SubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) override;
    // 0 or PROFILE_NOT_SUBSCRIBED.
    int32_t UnSubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) override;

    // All characteristics known of the device, its udid or LOCAL_DEVICE, by service and key. Empty when closed.
    std::vector<KnownProfile> List(const std::string& deviceId) const;

    // Has `watcher` told of changes from now on, instead of the one before; null ends it. What is known already is not
    // reported. Holds while open.
    void SetWatcher(Watcher watcher);

    // Publishes on `network` what this device has and takes what it reads, until Leave. False when closed or of another
    // udid. One network at a time.
    bool Join(ProfileNetwork& network, const std::string& udid);
    // Does not use the network any more when it returns, and takes nothing more from it. The peers' profiles are
    // forgotten, without a word.
    void Leave();

    // What the network has read; its thread. Take mutex_ alone.
    bool OnPut(const RecordPtr& record, WriterId writer) override;
    void OnDelete(const std::string& udid, const ProfileName& name) override;
    void OnGone(const std::string& udid, WriterId writer) override;

private:
    // Destroyed with no lock held.
    using Ended = ProfileSubscriptions::SubscriptionPtr;

    std::string UdidOf(const std::string& deviceId) const REQUIRES(mutex_);
    int32_t Put(ProfileKind kind, CharacteristicProfile profile);
    void NoteRefusal(const ProfileRecord& record, ProfileCode code);
    int32_t Commit(const RecordPtr& record, bool isDeleted) REQUIRES(publishMutex_);

    DeviceNotes& notes_;

    // One change of this device's profiles at a time, so that the store, the table and the network get all of them in
    // one order: held while the store commits and while the network takes the change. Taken before mutex_.
    Mutex publishMutex_;
    std::unique_ptr<ProfileStore> store_ GUARDED_BY(publishMutex_);  // there while open
    ProfileNetwork* network_ GUARDED_BY(publishMutex_) = nullptr;

    mutable Mutex mutex_;                       // never held across a call out
    std::string udid_ GUARDED_BY(mutex_);       // empty while closed
    bool isJoined_ GUARDED_BY(mutex_) = false;  // a network may tell what peers publish
    ProfileTable table_ GUARDED_BY(mutex_);
    ProfileSubscriptions subscriptions_ GUARDED_BY(mutex_);
};

}  // namespace ZYNE::Linux
