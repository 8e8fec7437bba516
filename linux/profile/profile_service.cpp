#include "linux/profile/profile_service.h"

#include <exception>
#include <map>
#include <optional>
#include <utility>

#include "linux/base/guarded_call.h"
#include "linux/profile/profile_log.h"

namespace ZYNE::Linux {
namespace {

constexpr WriterId THIS_DEVICE = 0;

std::string Anonymous(const std::string& udid) {
    return CollaborationFwk::PickerResult::StringToAnonymous(udid);
}

// Names may be long: both bounds together leave a line that can be read.
std::string NameForPeople(const ProfileRecord& record) {
    constexpr size_t MAX_SHOWN_BYTES = 64;
    return record.profile.GetServiceName().substr(0, MAX_SHOWN_BYTES) + '/' +
        record.profile.GetCharacteristicKey().substr(0, MAX_SHOWN_BYTES);
}

ProfileName CharacteristicName(const std::string& service, const std::string& key) {
    return {ProfileKind::CHARACTERISTIC, service, key};
}

}  // namespace

ProfileService::ProfileService(ThreadPool& pool, DeviceNotes& notes) : notes_(notes), subscriptions_(pool) {}

ProfileService::~ProfileService() {
    Close();
}

void ProfileService::Open(const std::filesystem::path& file, const std::string& udid) {
    auto store = std::make_unique<ProfileStore>(file, notes_, [this] {
        const MutexLock lock(mutex_);
        return table_.Of(udid_);
    });
    const std::vector<RecordPtr> records = store->Load(udid);
    const MutexLock publishing(publishMutex_);
    store_ = std::move(store);
    {
        const MutexLock lock(mutex_);
        udid_ = udid;
        for (const RecordPtr& record : records) {
            if (table_.Check(*record) == PROFILE_OK) {
                table_.Put(record, THIS_DEVICE);
            }
        }
    }
}

void ProfileService::Close() {
    std::vector<Ended> ended;
    {
        const MutexLock closing(publishMutex_);
        const MutexLock lock(mutex_);
        if (!store_) {
            return;
        }
        store_.reset();
        network_ = nullptr;
        udid_.clear();
        isJoined_ = false;
        table_.Clear();
        ended = subscriptions_.EndAll();
    }
    for (const Ended& each : ended) {
        each->EndAndWait();
    }
}

std::string ProfileService::UdidOf(const std::string& deviceId) const {
    return deviceId == LOCAL_DEVICE ? udid_ : deviceId;
}

int32_t ProfileService::GetCharacteristicProfile(const std::string& deviceId, const std::string& serviceName,
    const std::string& characteristicKey, CharacteristicProfile& profile) {
    RecordPtr record;
    {
        const MutexLock lock(mutex_);
        if (udid_.empty()) {
            return PROFILE_NOT_READY;
        }
        record = table_.Find(UdidOf(deviceId), CharacteristicName(serviceName, characteristicKey));
    }
    if (!record) {
        return PROFILE_UNKNOWN;
    }
    profile = record->profile;
    return PROFILE_OK;
}

int32_t ProfileService::PutServiceProfile(const ServiceProfile& profile) {
    CharacteristicProfile service;
    service.SetDeviceId(profile.GetDeviceId());
    service.SetServiceName(profile.GetServiceName());
    service.SetCharacteristicValue(profile.GetServiceType());
    return Put(ProfileKind::SERVICE, std::move(service));
}

int32_t ProfileService::PutCharacteristicProfile(const CharacteristicProfile& profile) {
    return Put(ProfileKind::CHARACTERISTIC, profile);
}

int32_t ProfileService::Put(ProfileKind kind, CharacteristicProfile profile) {
    const MutexLock publishing(publishMutex_);
    const auto record = std::make_shared<ProfileRecord>();
    {
        const MutexLock lock(mutex_);
        if (udid_.empty()) {
            return PROFILE_NOT_READY;
        }
        if (UdidOf(profile.GetDeviceId()) != udid_) {
            return PROFILE_NOT_OWN;
        }
        profile.SetDeviceId(udid_);
        *record = {kind, std::move(profile)};
        if (const ProfileCode code = table_.Check(*record); code != PROFILE_OK) {
            NoteRefusal(*record, code);
            return code;
        }
        const RecordPtr known = table_.Find(udid_, ProfileName(*record));
        if (known && HasSameContent(*known, *record)) {
            return PROFILE_OK;
        }
    }
    return Commit(record, false);
}

int32_t ProfileService::Delete(const std::string& serviceName, const std::string& characteristicKey) {
    const MutexLock publishing(publishMutex_);
    RecordPtr record;
    {
        const MutexLock lock(mutex_);
        if (udid_.empty()) {
            return PROFILE_NOT_READY;
        }
        record = table_.Find(udid_, CharacteristicName(serviceName, characteristicKey));
    }
    return record ? Commit(record, true) : static_cast<int32_t>(PROFILE_UNKNOWN);
}

// A publication of the library's own is not seen to fail otherwise.
void ProfileService::NoteRefusal(const ProfileRecord& record, ProfileCode code) {
    const std::string name = NameForPeople(record);
    const char* why = code == PROFILE_TOO_MANY ? "the profile has as many entries as it may have"
        : code == PROFILE_TOO_LARGE            ? "it is too large, or the profile is with it"
                                               : "its name has a zero byte";
    ProfilePrint(LogLevel::WARN, "%{public}s is not published: %{public}s", name, why);
    notes_.Set("profile", name, name + " is not published: " + why);
}

// Whoever learns of the change can rely on it: it is stored first.
int32_t ProfileService::Commit(const RecordPtr& record, bool isDeleted) {
    const ProfileName name(*record);
    try {
        if (isDeleted) {
            store_->Delete(name);
        } else {
            store_->Put(*record);
        }
    } catch (const std::exception& error) {
        ProfilePrint(LogLevel::ERROR, "a profile of this device is not kept: %{public}s", error.what());
        return PROFILE_STORE_FAILED;
    }
    {
        const MutexLock lock(mutex_);
        subscriptions_.Add(
            isDeleted ? table_.Delete(record->profile.GetDeviceId(), name) : table_.Put(record, THIS_DEVICE));
    }
    notes_.Clear("profile", NameForPeople(*record));
    if (network_ != nullptr) {
        network_->Publish(record, isDeleted);
    }
    GuardedCall("settling the profiles", [&store = *store_] { store.Settle(); });
    return PROFILE_OK;
}

int32_t ProfileService::SubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) {
    if (!subscribeInfo.GetListener()) {
        return PROFILE_INVALID_ARGUMENT;
    }
    const SubscribeKey& key = subscribeInfo.GetSubscribeKey();
    Ended earlier;
    {
        const MutexLock lock(mutex_);
        if (udid_.empty()) {
            return PROFILE_NOT_READY;
        }
        earlier = subscriptions_.Subscribe(
            subscribeInfo, table_.Find(key.deviceId, CharacteristicName(key.serviceName, key.characteristicKey)));
    }
    return PROFILE_OK;
}

int32_t ProfileService::UnSubscribeDeviceProfile(const SubscribeInfo& subscribeInfo) {
    Ended ended;
    const MutexLock lock(mutex_);
    if (udid_.empty()) {
        return PROFILE_NOT_READY;
    }
    ended = subscriptions_.Unsubscribe(subscribeInfo);
    return ended ? PROFILE_OK : PROFILE_NOT_SUBSCRIBED;
}

void ProfileService::SetWatcher(Watcher watcher) {
    Ended earlier;
    const MutexLock lock(mutex_);
    if (!udid_.empty()) {
        earlier = subscriptions_.Watch(std::move(watcher));
    }
}

std::vector<ProfileService::KnownProfile> ProfileService::List(const std::string& deviceId) const {
    std::vector<RecordPtr> records;
    {
        const MutexLock lock(mutex_);
        records = table_.Of(UdidOf(deviceId));
    }
    std::map<std::string, std::string> types;
    std::vector<KnownProfile> list;
    for (const RecordPtr& record : records) {
        const CharacteristicProfile& profile = record->profile;
        if (record->kind == ProfileKind::SERVICE) {
            types[profile.GetServiceName()] = profile.GetCharacteristicValue();
        } else {
            list.push_back({profile, types[profile.GetServiceName()]});
        }
    }
    return list;
}

bool ProfileService::Join(ProfileNetwork& network, const std::string& udid) {
    const MutexLock publishing(publishMutex_);
    std::vector<RecordPtr> own;
    {
        const MutexLock lock(mutex_);
        if (udid_ != udid) {
            return false;
        }
        isJoined_ = true;
        own = table_.Of(udid_);
    }
    network_ = &network;
    for (const RecordPtr& record : own) {
        network.Publish(record, false);
    }
    return true;
}

void ProfileService::Leave() {
    const MutexLock leaving(publishMutex_);
    const MutexLock lock(mutex_);
    network_ = nullptr;
    isJoined_ = false;
    for (const ProfileStep& step : table_.ForgetAllBut(udid_)) {
        subscriptions_.Add(step);
    }
}

bool ProfileService::OnPut(const RecordPtr& record, WriterId writer) {
    const MutexLock lock(mutex_);
    const std::string& udid = record->profile.GetDeviceId();
    if (!isJoined_ || udid == udid_) {
        return false;
    }
    if (const ProfileCode code = table_.Check(*record); code != PROFILE_OK) {
        if (table_.IsFirstRefusal(udid)) {
            ProfilePrint(LogLevel::WARN, "device %{public}s publishes more than it may: refused, %{public}d",
                Anonymous(udid), code);
        }
        return false;
    }
    subscriptions_.Add(table_.Put(record, writer));
    return true;
}

void ProfileService::OnDelete(const std::string& udid, const ProfileName& name) {
    const MutexLock lock(mutex_);
    if (udid != udid_) {
        subscriptions_.Add(table_.Delete(udid, name));
    }
}

void ProfileService::OnGone(const std::string& udid, WriterId writer) {
    const MutexLock lock(mutex_);
    for (const ProfileStep& step : table_.Forget(udid, writer)) {
        subscriptions_.Add(step);
    }
}

}  // namespace ZYNE::Linux
