// One item of a peer device's dynamic info.
#pragma once

#include <string>

#include "platform/ipc/parcel.h"
#include "platform/ipc/parcelable.h"
#include "platform/ipc/ref_base.h"
#include "plugin/export.h"

namespace ZYNE::CollaborationFwk {

// Immutable. Copies are records of their own and log nothing when they are made; construction and destruction leave the
// key and value in the log.
class CFWK_EXPORT DeviceDynamicInfo : public Parcelable {
public:
    DeviceDynamicInfo(std::string key, std::string value);
    DeviceDynamicInfo(const DeviceDynamicInfo&) = default;
    DeviceDynamicInfo& operator=(const DeviceDynamicInfo&) = delete;
    ~DeviceDynamicInfo() override;

    std::string GetKey() const;
    // May be empty.
    std::string GetValue() const;

    // Writes the key, then the value. False when the parcel does not take one of them; what was written stays in it.
    bool Marshalling(Parcel& parcel) const override;
    // Reads what Marshalling wrote. What cannot be read is an empty string. Null only when memory is out.
    static sptr<DeviceDynamicInfo> Unmarshalling(Parcel& parcel);

private:
    std::string key_;
    std::string value_;
};

}  // namespace ZYNE::CollaborationFwk
