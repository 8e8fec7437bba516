#include "linux/network/control/answer_delivery.h"

#include <memory>
#include <utility>

#include "linux/base/guarded_call.h"
#include "linux/network/presence/fabric_log.h"

namespace ZYNE::Linux {

bool DeliverAnswer(
    const ListenerRegistry& listeners, SessionTable& sessions, const std::string& networkId, ControlMessage answer) {
    const auto session = sessions.TakeOpened(answer.session, networkId);
    if (!session) {
        FabricPrint(LogLevel::WARN, "an answer of device %{public}s is dropped: it was not asked for, or came before",
            Anonymous(networkId));
        return false;
    }
    const auto length = static_cast<uint32_t>(answer.payload.size());
    const auto protocol = std::make_shared<CollaborationFwk::CollaborationFwkProtocol>(std::move(answer.payload));
    for (const auto& listener : listeners.Of(static_cast<int>(answer.type))) {
        GuardedCall(
            "delivering an answer", [&] { listener->OnDataReceived(session->collaborationId, protocol, length); });
    }
    return true;
}

void TellChannelShutDown(const ListenerRegistry& listeners, const std::vector<std::string>& collaborationIds) {
    for (const std::string& id : collaborationIds) {
        for (const auto& listener : listeners.Of(ListenerRegistry::CONTROL_CHANNEL)) {
            GuardedCall("telling of a channel's end", [&] { listener->OnCtrlChannelShutDown(id); });
        }
    }
}

}  // namespace ZYNE::Linux
