#include "linux/network/fabric_session_manager.h"

#include "linux/base/guarded_call.h"
#include "linux/network/fabric_node.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {

FabricSessionManager::Session FabricSessionManager::CollaborationToDeviceByCtrlSession(const std::string& networkId,
    const std::string& callerString, std::shared_ptr<CollaborationFwk::ServiceInfo> service,
    const std::string& sessionName) {
    int32_t session = 0;
    FabricCode code = FABRIC_TRANSPORT_FAILED;
    GuardedCall("sending a request", [&] {
        if (service == nullptr) {
            code = FABRIC_INVALID_ARGUMENT;
            return;
        }
        const auto node = fabric_.Node();
        code = node == nullptr ? FABRIC_NOT_RUNNING
                               : node->Control().SendRequest(networkId, callerString, sessionName, *service, session);
    });
    if (code != FABRIC_OK) {
        FabricPrint(LogLevel::WARN, "no request to device %{public}s, code: %{public}d", Anonymous(networkId), code);
        return {code, 0};
    }
    return {FABRIC_OK, session};
}

int32_t FabricSessionManager::TransmitMsg(
    int collaborationSessionId, const char* data, uint32_t length, uint32_t type, bool /*reserved*/) {
    FabricCode code = FABRIC_TRANSPORT_FAILED;
    GuardedCall("sending an answer", [&] {
        if (data == nullptr && length != 0) {
            code = FABRIC_INVALID_ARGUMENT;
            return;
        }
        const auto node = fabric_.Node();
        code = node == nullptr ? FABRIC_NOT_RUNNING
                               : node->Control().SendAnswer(collaborationSessionId, type, {data, length});
    });
    if (code != FABRIC_OK) {
        FabricPrint(LogLevel::WARN, "no answer on session %{public}d, code: %{public}d", collaborationSessionId, code);
    }
    return code;
}

}  // namespace ZYNE::Linux
