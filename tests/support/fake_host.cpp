#include "tests/support/fake_host.h"

#include <cstdlib>
#include <utility>

namespace ZYNE::Testing {

using namespace CollaborationFwk;

bool FakeHost::RegisterInstance(PluginType type, AbilityPlugin* instance) {
    plugin = instance;
    journal_.Call("RegisterInstance(" + std::to_string(static_cast<int>(type)) + ")");
    return true;
}

void FakeHost::RegisterEventListener(int eventType, std::shared_ptr<EventListener> listener) {
    journal_.Call("RegisterEventListener(" + std::to_string(eventType) + ")");
    listeners.push_back(std::move(listener));
    if (const auto hook = onRegisterListener) {  // a copy: it may take itself away
        hook();
    }
}

ListenerManager::CollaborationId FakeHost::FetchCollaborationId(const std::string& id) {
    char* end = nullptr;
    const auto number = std::strtoul(id.c_str(), &end, 10);
    const bool valid = end != id.c_str() && *end == '-';
    return {valid ? 0 : unknownIdCode, valid ? static_cast<uint32_t>(number) : 0};
}

const char* FakeHost::GetPayLoadRawData(std::shared_ptr<CollaborationFwkProtocol> protocol) {
    return protocol ? protocol->GetPayload() : nullptr;
}

SessionManager::Session FakeHost::CollaborationToDeviceByCtrlSession(const std::string& networkId,
    const std::string& callerString, std::shared_ptr<ServiceInfo> service, const std::string& sessionName) {
    journal_.Call("Request(" + networkId + ", " + callerString + ", " + sessionName + ")");
    {
        std::lock_guard lock(mutex_);
        lastService = service;
    }
    if (onRequest) {
        onRequest(*service);
    }
    return session;
}

int32_t FakeHost::TransmitMsg(
    int collaborationSessionId, const char* data, uint32_t length, uint32_t type, bool reserved) {
    {
        std::lock_guard lock(mutex_);
        lastMessage.assign(data, length);
    }
    journal_.Call("TransmitMsg(" + std::to_string(collaborationSessionId) + ", " + std::to_string(type) + ", " +
        (reserved ? "true" : "false") + ")");
    if (const auto hook = onTransmit) {
        hook(std::string(data, length));
    }
    return transmitResult;
}

std::string FakeHost::FindUdid(const std::string& networkId) const {
    const auto found = udids.find(networkId);
    return found != udids.end() ? found->second : std::string();
}

}  // namespace ZYNE::Testing
