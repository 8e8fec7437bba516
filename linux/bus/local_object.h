// An object of this process that is found like a remote one, by a cast to its interface. It takes no requests as bytes.
#pragma once

#include "linux/bus/mortal_object.h"

namespace ZYNE::Linux {

// Any thread. The process that would be told of its death is the one that dies: recipients are kept and never told.
class LocalObject : public MortalObject {
public:
    LocalObject() : MortalObject(nullptr) {}

    int32_t SendRequest(uint32_t, MessageParcel&, MessageParcel&, MessageOption&) override { return REFUSED; }
};

}  // namespace ZYNE::Linux
