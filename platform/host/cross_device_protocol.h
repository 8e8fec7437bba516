// Access to the payload of channel messages.
#pragma once

#include <memory>

#include "platform/export.h"
#include "platform/host/collaboration_fwk_protocol.h"

namespace ZYNE::CollaborationFwk {

// Any thread.
class PLATFORM_API CrossDeviceProtocol {
public:
    static CrossDeviceProtocol& GetInstance();  // defined by the port

    // The payload of `protocol`, followed by a zero byte and alive as long as `protocol`; null when there is none or
    // `protocol` is null.
    virtual const char* GetPayLoadRawData(std::shared_ptr<CollaborationFwkProtocol> protocol) = 0;

protected:
    ~CrossDeviceProtocol() = default;
};

}  // namespace ZYNE::CollaborationFwk
