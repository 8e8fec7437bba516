#include "plugin/info_collection/device_dynamic_info.h"

#include <utility>

#include "plugin/utils/log.h"

// A macro, so that the line names the constructor or the destructor that it stands in.
#define LOG_RECORD() CFWK_LOGI(LOG, "key=%{public}s, value=%{public}s", key_, value_)

namespace ZYNE::CollaborationFwk {
namespace {

constexpr LogDomain LOG = LogDomains::COLLECTION;

}  // namespace

DeviceDynamicInfo::DeviceDynamicInfo(std::string key, std::string value)
    : key_(std::move(key)), value_(std::move(value)) {
    LOG_RECORD();
}

DeviceDynamicInfo::~DeviceDynamicInfo() {
    LOG_RECORD();
}

std::string DeviceDynamicInfo::GetKey() const {
    return key_;
}

std::string DeviceDynamicInfo::GetValue() const {
    return value_;
}

bool DeviceDynamicInfo::Marshalling(Parcel& parcel) const {
    if (!parcel.WriteString(key_) || !parcel.WriteString(value_)) {
        CFWK_LOGE(LOG, "failed key=%{public}s, value=%{public}s", key_, value_);
        return false;
    }
    CFWK_LOGI(LOG, "success key=%{public}s, value=%{public}s", key_, value_);
    return true;
}

sptr<DeviceDynamicInfo> DeviceDynamicInfo::Unmarshalling(Parcel& parcel) {
    const std::string key = parcel.ReadString();
    const std::string value = parcel.ReadString();
    sptr<DeviceDynamicInfo> info = MakeSptr<DeviceDynamicInfo>(key, value);
    if (info == nullptr) {
        CFWK_LOGE(LOG, "new DeviceDynamicInfo failed, key=%{public}s, value=%{public}s", key, value);
    }
    return info;
}

}  // namespace ZYNE::CollaborationFwk
