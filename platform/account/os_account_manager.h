// Tells about the users of this device.
#pragma once

#include <cstdint>

#include "platform/export.h"

namespace ZYNE {

enum class OsAccountType : int32_t {
    NORMAL = 0,
    PRIVATE = 1024,
};

// Any thread. Every operation is defined by the port: 0 is success; otherwise the port's own code, and the out
// parameter may be untouched.
class PLATFORM_API OsAccountManager {
public:
    OsAccountManager() = delete;

    // The user in the foreground.
    static int32_t GetForegroundOsAccountLocalId(int32_t& localId);

    // Fails for a user that does not exist.
    static int32_t GetOsAccountType(int32_t localId, OsAccountType& type);
};

}  // namespace ZYNE
