#include "host/profile_api.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <tuple>
#include <utility>

#include <json/value.h>
#include <json/writer.h>

#include "host/api_error.h"
#include "host/bus_text.h"
#include "host/peer_choice.h"
#include "platform/host/device_profile_client.h"
#include "plugin/device_profile/device_profile_manager.h"

namespace ZYNE::Host {
namespace {

using CollaborationFwk::DeviceProfileClient;
using CollaborationFwk::DeviceProfileManager;
using Linux::ProfileChange;
using Linux::ProfileService;

constexpr size_t MAX_LISTED_BYTES = 4096;    // of a value in a list
constexpr size_t MAX_TOLD_BYTES = 64 << 10;  // of a value in a change

// The library does not tell an empty value from none.
bool IsKnown(const std::string& udid, const std::string& service, const std::string& key) {
    CharacteristicProfile profile;
    return DeviceProfileClient::GetInstance().GetCharacteristicProfile(udid, service, key, profile) == 0;
}

// The form in which the library wants the service.
std::string ExtraInfo(const std::string& service, const std::string& serviceType) {
    Json::Value extra(Json::objectValue);
    extra["serviceName"] = service;
    extra["serviceType"] = serviceType;
    return Json::writeString(Json::StreamWriterBuilder(), extra);
}

ProfileApi::Entry Describe(const std::vector<KnownPeer>& peers, const KnownPeer& self,
    const CharacteristicProfile& profile, size_t mostBytes) {
    const BusExtract value = BusTextOfAtMost(profile.GetCharacteristicValue(), mostBytes);
    return {BusText(NameOf(peers, self, profile.GetDeviceId())), ShortId(profile.GetDeviceId()),
        BusText(profile.GetServiceName()), "", BusText(profile.GetCharacteristicKey()), value.text, value.whole};
}

const char* Word(ProfileChange change) {
    switch (change) {
    case ProfileChange::ADDED:
        return "added";
    case ProfileChange::UPDATED:
        return "updated";
    case ProfileChange::DELETED:
        return "deleted";
    }
    return "";
}

size_t Bytes(const std::vector<ProfileApi::Entry>& entries) {
    constexpr size_t BESIDES_TEXT = 64;  // lengths, ends and padding of one entry
    size_t bytes = 0;
    for (const ProfileApi::Entry& each : entries) {
        bytes += each.deviceName.size() + each.deviceId.size() + each.service.size() + each.serviceType.size() +
            each.key.size() + each.value.size() + BESIDES_TEXT;
    }
    return bytes;
}

}  // namespace

ProfileApi::ProfileApi(ProfileService& profiles, std::function<std::vector<KnownPeer>()> peers)
    : profiles_(profiles), peers_(std::move(peers)) {}

std::string ProfileApi::Get(const std::string& device, const std::string& service, const std::string& serviceType,
    const std::string& key) const {
    const KnownPeer meant = ChooseDevice(peers_(), ThisDevice(), device);
    std::string value =
        BusText(DeviceProfileManager::GetInstance().GetSyncData(meant.udid, key, ExtraInfo(service, serviceType)));
    if (value.empty() && !IsKnown(meant.udid, service, key)) {
        throw ApiError("NotFound", "nothing is known of " + key + " under the service " + service + " of " + device);
    }
    if (value.size() > MAX_REPLY_BYTES) {
        throw ApiError("TooLarge", "the value of \"" + key + "\" is too large for the bus");
    }
    return value;
}

int32_t ProfileApi::Put(const std::string& service, const std::string& serviceType, const std::string& key,
    const std::string& value) const {
    return DeviceProfileManager::GetInstance().PutSyncData(key, value, ExtraInfo(service, serviceType));
}

int32_t ProfileApi::Delete(const std::string& service, const std::string& key) const {
    return profiles_.Delete(service, key);
}

std::vector<ProfileApi::Entry> ProfileApi::List(const std::string& device) const {
    const std::vector<KnownPeer> peers = peers_();
    const KnownPeer self = ThisDevice();
    std::vector<KnownPeer> meant = peers;
    meant.push_back(self);
    if (!device.empty()) {
        meant = {ChooseDevice(peers, self, device)};
    }
    std::vector<Entry> entries;
    for (const KnownPeer& each : meant) {
        for (const ProfileService::KnownProfile& known : profiles_.List(each.udid)) {
            entries.push_back(Host::Describe(peers, self, known.profile, MAX_LISTED_BYTES));
            entries.back().serviceType = BusText(known.serviceType);
        }
    }
    if (Bytes(entries) > MAX_REPLY_BYTES) {
        throw ApiError("TooLarge", "there are too many values for one answer: list those of one device");
    }
    std::ranges::sort(entries, {},
        [](const Entry& entry) { return std::tie(entry.deviceName, entry.deviceId, entry.service, entry.key); });
    return entries;
}

ProfileApi::Change ProfileApi::Describe(ProfileChange change, const CharacteristicProfile& profile) const {
    return {Word(change), Host::Describe(peers_(), ThisDevice(), profile, MAX_TOLD_BYTES)};
}

}  // namespace ZYNE::Host
