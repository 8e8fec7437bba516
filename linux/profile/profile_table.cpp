#include "linux/profile/profile_table.h"

#include <utility>

namespace ZYNE::Linux {
namespace {

bool HasZeroByte(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

}  // namespace

ProfileCode ProfileTable::Check(const ProfileRecord& record) const {
    const std::string& service = record.profile.GetServiceName();
    const std::string& key = record.profile.GetCharacteristicKey();
    const size_t mostValueBytes =
        record.kind == ProfileKind::SERVICE ? ProfileBounds::NAME_BYTES : ProfileBounds::VALUE_BYTES;
    if (HasZeroByte(service) || HasZeroByte(key)) {
        return PROFILE_INVALID_ARGUMENT;
    }
    if (service.size() > ProfileBounds::NAME_BYTES || key.size() > ProfileBounds::NAME_BYTES ||
        record.profile.GetCharacteristicValue().size() > mostValueBytes) {
        return PROFILE_TOO_LARGE;
    }
    const auto device = devices_.find(record.profile.GetDeviceId());
    if (device == devices_.end()) {
        return devices_.size() < MAX_DEVICES ? PROFILE_OK : PROFILE_TOO_MANY;
    }
    const Entry* known = FindEntry(record.profile.GetDeviceId(), ProfileName(record));
    if (known == nullptr && device->second.entries.size() >= ProfileBounds::RECORDS) {
        return PROFILE_TOO_MANY;
    }
    const size_t others = device->second.bytes - (known == nullptr ? 0 : BytesOf(*known->record));
    return others + BytesOf(record) > ProfileBounds::BYTES ? PROFILE_TOO_LARGE : PROFILE_OK;
}

ProfileStep ProfileTable::Put(const RecordPtr& record, WriterId writer) {
    Device& device = devices_[record->profile.GetDeviceId()];
    Entry& entry = device.entries[ProfileName(*record)];
    // Also of what stays as it is: it is known as long as the one that told it last is there.
    entry.writer = writer;
    if (entry.record && HasSameContent(*entry.record, *record)) {
        return {};
    }
    device.bytes += BytesOf(*record) - (entry.record ? BytesOf(*entry.record) : 0);
    return {std::exchange(entry.record, record), record};
}

ProfileStep ProfileTable::Delete(const std::string& udid, const ProfileName& name) {
    if (FindEntry(udid, name) == nullptr) {
        return {};
    }
    Device& device = devices_[udid];
    const auto gone = device.entries.extract(name);
    device.bytes -= BytesOf(*gone.mapped().record);
    return {gone.mapped().record, nullptr};
}

std::vector<ProfileStep> ProfileTable::Forget(const std::string& udid, WriterId writer) {
    std::vector<ProfileStep> steps;
    const auto device = devices_.find(udid);
    if (device == devices_.end()) {
        return steps;
    }
    std::erase_if(device->second.entries, [&](const auto& named) {
        const Entry& entry = named.second;
        if (entry.writer != writer) {
            return false;
        }
        device->second.bytes -= BytesOf(*entry.record);
        steps.push_back({entry.record, nullptr, true});
        return true;
    });
    if (device->second.entries.empty()) {
        devices_.erase(device);
    }
    return steps;
}

std::vector<ProfileStep> ProfileTable::ForgetAllBut(const std::string& udid) {
    std::vector<ProfileStep> steps;
    std::erase_if(devices_, [&](const auto& device) {
        if (device.first == udid) {
            return false;
        }
        for (const auto& [name, entry] : device.second.entries) {
            steps.push_back({entry.record, nullptr, true});
        }
        return true;
    });
    return steps;
}

RecordPtr ProfileTable::Find(const std::string& udid, const ProfileName& name) const {
    const Entry* entry = FindEntry(udid, name);
    return entry == nullptr ? nullptr : entry->record;
}

const ProfileTable::Entry* ProfileTable::FindEntry(const std::string& udid, const ProfileName& name) const {
    const auto device = devices_.find(udid);
    if (device == devices_.end()) {
        return nullptr;
    }
    const auto entry = device->second.entries.find(name);
    return entry == device->second.entries.end() ? nullptr : &entry->second;
}

std::vector<RecordPtr> ProfileTable::Of(const std::string& udid) const {
    std::vector<RecordPtr> records;
    if (const auto device = devices_.find(udid); device != devices_.end()) {
        for (const auto& [name, entry] : device->second.entries) {
            records.push_back(entry.record);
        }
    }
    return records;
}

bool ProfileTable::IsFirstRefusal(const std::string& udid) {
    const auto device = devices_.find(udid);
    bool& isRefused = device == devices_.end() ? isStrangerRefused_ : device->second.isRefused;
    return !std::exchange(isRefused, true);
}

}  // namespace ZYNE::Linux
