// Stands in for an extension whose process does not start, so that nobody waits for it.
#pragma once

#include "linux/bus/mortal_object.h"

namespace ZYNE::Linux {

// Any thread. Answers each request at once; its death says that asking for the extension is worth another try.
class AbsentExtension final : public MortalObject {
public:
    using MortalObject::MortalObject;

    int32_t SendRequest(uint32_t, MessageParcel&, MessageParcel&, MessageOption&) override { return DEAD; }
};

}  // namespace ZYNE::Linux
