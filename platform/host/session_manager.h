// The control channel between two devices.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/host/service_info.h"

namespace ZYNE::CollaborationFwk {

// Any thread. An operation blocks until the transport has taken the message, never until it is answered.
class PLATFORM_API SessionManager {
public:
    struct Session {
        int32_t code;                    // 0 sent; otherwise the port's own error
        int32_t collaborationSessionId;  // meaningful when code is 0
    };

    static SessionManager* GetInstance();  // defined by the port; never null

    // Sends `service` to the device `networkId` on a new session. On the other device its plug-in makes a command of
    // service->commandProp; what that sends back reaches the listeners of event type 3 under
    // service->collaborationIdStr, possibly before this returns. A device that is gone, or not trusted, is an error at
    // once and not a wait.
    virtual Session CollaborationToDeviceByCtrlSession(const std::string& networkId, const std::string& callerString,
        std::shared_ptr<ServiceInfo> service, const std::string& sessionName) = 0;

    // Sends `length` bytes of `data` to the device that opened the session; only the device that was asked may. `data`
    // is copied before the call returns. `type` is the event type under which the other end delivers it. 0 sent;
    // otherwise the port's own error, as for a session that is over or bytes that do not fit the transport, which takes
    // at least 8 MiB.
    virtual int32_t TransmitMsg(
        int collaborationSessionId, const char* data, uint32_t length, uint32_t type, bool reserved) = 0;

protected:
    ~SessionManager() = default;
};

}  // namespace ZYNE::CollaborationFwk
