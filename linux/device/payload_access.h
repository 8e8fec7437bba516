// The seam's access to what has arrived.
#pragma once

#include <memory>

#include "platform/host/cross_device_protocol.h"

namespace ZYNE::Linux {

// Any thread. Has no state.
class PayloadAccess final : public CollaborationFwk::CrossDeviceProtocol {
public:
    const char* GetPayLoadRawData(std::shared_ptr<CollaborationFwk::CollaborationFwkProtocol> protocol) override {
        return protocol == nullptr ? nullptr : protocol->GetPayload();
    }
};

}  // namespace ZYNE::Linux
