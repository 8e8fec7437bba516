// What is known of every device's profiles at this moment.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "linux/profile/profile_code.h"
#include "linux/profile/profile_network.h"
#include "linux/profile/profile_record.h"

namespace ZYNE::Linux {

// From `before` to `after`; null where there was, or is, nothing. Both are null when nothing has changed.
struct ProfileStep {
    RecordPtr before;
    RecordPtr after;
    bool isForgotten = false;  // it is not known any more, but was not deleted
};

// One thread at a time.
class ProfileTable {
public:
    // Whether `record` may be put: 0, PROFILE_INVALID_ARGUMENT, PROFILE_TOO_LARGE or PROFILE_TOO_MANY.
    ProfileCode Check(const ProfileRecord& record) const;
    // Puts what Check allows.
    ProfileStep Put(const RecordPtr& record, WriterId writer);
    ProfileStep Delete(const std::string& udid, const ProfileName& name);

    // Forgets what `writer` told of the device.
    std::vector<ProfileStep> Forget(const std::string& udid, WriterId writer);
    // Forgets every device but `udid`.
    std::vector<ProfileStep> ForgetAllBut(const std::string& udid);
    void Clear() { devices_.clear(); }

    // Null when it is not known.
    RecordPtr Find(const std::string& udid, const ProfileName& name) const;
    // All of a device, services first, by name.
    std::vector<RecordPtr> Of(const std::string& udid) const;

    // Whether the device's records are refused for the first time. All devices that were never known count as one.
    bool IsFirstRefusal(const std::string& udid);

private:
    // More than a network has: in open mode anyone can claim to be many.
    static constexpr size_t MAX_DEVICES = 4096;

    struct Entry {
        RecordPtr record;
        WriterId writer = 0;
    };
    struct Device {
        std::map<ProfileName, Entry> entries;
        size_t bytes = 0;
        bool isRefused = false;
    };

    const Entry* FindEntry(const std::string& udid, const ProfileName& name) const;

    std::unordered_map<std::string, Device> devices_;  // by udid
    bool isStrangerRefused_ = false;                   // of a device that is not in it
};

}  // namespace ZYNE::Linux
