#include "linux/fabric/profile_reader.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "linux/account/udid.h"
#include "linux/fabric/device_id.h"
#include "linux/fabric/endpoint_owner.h"
#include "linux/fabric/fabric_log.h"
#include "linux/fabric/qos.h"
#include "linux/fabric/taken_samples.h"
#include "linux/fabric/wire.h"

namespace ZYNE::Linux {
namespace {

using Sample = ZYNE_Linux_Wire_Profile;

// About so many are read before listeners are told, however much arrives.
constexpr int MOST_AT_ONCE = 32;

bool IsOfKnownKind(const Sample& sample) {
    return sample.kind == static_cast<uint8_t>(ProfileKind::SERVICE) ||
        sample.kind == static_cast<uint8_t>(ProfileKind::CHARACTERISTIC);
}

RecordPtr FromSample(const Sample& sample) {
    auto record = std::make_shared<ProfileRecord>();
    record->kind = static_cast<ProfileKind>(sample.kind);
    record->profile.SetDeviceId(sample.udid);
    record->profile.SetServiceName(sample.service);
    record->profile.SetCharacteristicKey(sample.characteristic);
    record->profile.SetUserId(sample.userId);
    record->profile.SetCharacteristicValue(
        std::string(reinterpret_cast<const char*>(sample.value._buffer), sample.value._length));
    return record;
}

// In ascending order.
std::vector<dds_instance_handle_t> MatchedWriters(dds_entity_t reader) {
    std::vector<dds_instance_handle_t> writers;
    dds_return_t count = dds_get_matched_publications(reader, nullptr, 0);
    while (count > static_cast<dds_return_t>(writers.size())) {
        writers.resize(static_cast<size_t>(count));
        count = dds_get_matched_publications(reader, writers.data(), writers.size());
    }
    writers.resize(static_cast<size_t>(std::max(count, 0)));
    std::ranges::sort(writers);
    return writers;
}

}  // namespace

ProfileReader::ProfileReader(const FabricDomain& domain, const Partitions& partitions, std::string self, bool isProved)
    : self_(std::move(self)), isProved_(isProved),
      reader_(dds_create_reader(
                  domain.Participant(), domain.ProfileTopic(), ProfileReaderQos(partitions.OfAll()).get(), nullptr),
          "other devices' profiles cannot be seen") {
    MustDds(
        dds_set_status_mask(reader_.Get(), DDS_SUBSCRIPTION_MATCHED_STATUS), "other devices' profiles cannot be seen");
}

void ProfileReader::Take(ProfileInlet& inlet) {
    TakenSamples<Sample> samples(reader_.Get());
    for (int i = 0; (i < MOST_AT_ONCE || samples.IsInTheMiddle()) && samples.Next(); ++i) {
        const Sample& sample = samples.Sample();
        const dds_instance_handle_t writer = samples.Info().publication_handle;
        if (!samples.Info().valid_data || !IsOfKnownKind(sample) || !IsBelieved(sample.udid, writer)) {
            continue;
        }
        const RecordPtr record = FromSample(sample);
        if (sample.isDeleted) {
            inlet.OnDelete(sample.udid, ProfileName(*record));
        } else {
            inlet.OnPut(record, writer);
        }
    }
}

bool ProfileReader::IsBelieved(const std::string& udid, dds_instance_handle_t writer) {
    const auto known = writers_.find(writer);
    if (known != writers_.end()) {
        return known->second == udid;
    }
    const auto participant = OwnerOfWriter(reader_.Get(), writer);
    if (!participant) {
        return false;  // it has gone, and what it wrote with it
    }
    const bool isCredible = IsCredible(udid, *participant);
    if (!isCredible) {
        FabricPrint(
            LogLevel::WARN, "profiles under the udid %{public}s are ignored: they are not its own", Anonymous(udid));
    }
    writers_.emplace(writer, isCredible ? udid : "");
    return isCredible;
}

bool ProfileReader::IsCredible(const std::string& udid, const dds_guid_t& participant) const {
    return IsUdid(udid) && udid != self_ && (!isProved_ || IsParticipantOf(udid, participant));
}

void ProfileReader::CheckWriters(ProfileInlet& inlet) {
    // Asking for the status is what lets the waitset sleep again.
    dds_subscription_matched_status_t status{};
    dds_get_subscription_matched_status(reader_.Get(), &status);
    const bool isAnyLost = status.current_count_change < static_cast<int32_t>(status.total_count_change);
    if (!isAnyLost) {
        return;
    }
    const std::vector<dds_instance_handle_t> matched = MatchedWriters(reader_.Get());
    for (auto at = writers_.begin(); at != writers_.end();) {
        if (std::ranges::binary_search(matched, at->first)) {
            ++at;
            continue;
        }
        inlet.OnGone(at->second, at->first);
        at = writers_.erase(at);
    }
}

}  // namespace ZYNE::Linux
