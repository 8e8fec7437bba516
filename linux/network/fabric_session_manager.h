// The seam's way to other devices.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "linux/network/fabric.h"
#include "platform/host/session_manager.h"

namespace ZYNE::Linux {

// Any thread. Answers FabricCodes.
class FabricSessionManager final : public CollaborationFwk::SessionManager {
public:
    // The fabric outlives the use of it.
    explicit FabricSessionManager(Fabric& fabric) : fabric_(fabric) {}

    Session CollaborationToDeviceByCtrlSession(const std::string& networkId, const std::string& callerString,
        std::shared_ptr<CollaborationFwk::ServiceInfo> service, const std::string& sessionName) override;
    int32_t TransmitMsg(
        int collaborationSessionId, const char* data, uint32_t length, uint32_t type, bool reserved) override;

private:
    Fabric& fabric_;
};

}  // namespace ZYNE::Linux
