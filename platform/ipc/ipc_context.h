// Who sent an IPC request. Opaque to the library: the host makes it and passes it on.
#pragma once

#include <cstdint>

namespace ZYNE {

struct IPCContext {
    int32_t callingPid = 0;
    int32_t callingUid = 0;
};

}  // namespace ZYNE
