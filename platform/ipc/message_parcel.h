// A parcel that opens with the interface it is meant for.
#pragma once

#include <string>

#include "platform/ipc/parcel.h"

namespace ZYNE {

class PLATFORM_API MessageParcel : public Parcel {
public:
    using Parcel::Parcel;

    // The token is a UTF-16 string. The receiver compares it with its own descriptor and refuses others.
    bool WriteInterfaceToken(const std::u16string& token) { return WriteString16(token); }
    std::u16string ReadInterfaceToken() { return ReadString16(); }
};

}  // namespace ZYNE
