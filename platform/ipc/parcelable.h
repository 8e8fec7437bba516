// Something that can write itself into a parcel.
#pragma once

#include "platform/ipc/parcel.h"
#include "platform/ipc/ref_base.h"

namespace ZYNE {

class PLATFORM_API Parcelable : public virtual RefBase {
public:
    ~Parcelable() override = default;  // the first in the virtual table

    // False when the parcel took not everything; what was written before stays in it.
    virtual bool Marshalling(Parcel& parcel) const = 0;
};

}  // namespace ZYNE
