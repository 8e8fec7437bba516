// The seam's access to what has arrived.
#include "platform/host/cross_device_protocol.h"

namespace ZYNE::CollaborationFwk {
namespace {

class PayloadAccess final : public CrossDeviceProtocol {
public:
    const char* GetPayLoadRawData(std::shared_ptr<CollaborationFwkProtocol> protocol) override {
        return protocol == nullptr ? nullptr : protocol->GetPayload();
    }
};

}  // namespace

CrossDeviceProtocol& CrossDeviceProtocol::GetInstance() {
    static auto& access = *new PayloadAccess();
    return access;
}

}  // namespace ZYNE::CollaborationFwk
