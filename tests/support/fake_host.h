// The host framework of a simulated device: registration, the channel to peers, device identities.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/collaboration_fwk_service_utils.h"
#include "platform/host/cross_device_protocol.h"
#include "platform/host/listener_manager.h"
#include "platform/host/plugin_loader.h"
#include "platform/host/session_manager.h"
#include "tests/support/journal.h"

namespace ZYNE::Testing {

// One thread, but for the channel's operations.
class FakeHost final : public CollaborationFwk::PluginLoader,
                       public CollaborationFwk::ListenerManager,
                       public CollaborationFwk::CrossDeviceProtocol,
                       public CollaborationFwk::SessionManager {
public:
    explicit FakeHost(Journal& journal) : journal_(journal) {}

    bool RegisterInstance(CollaborationFwk::PluginType type, CollaborationFwk::AbilityPlugin* instance) override;
    void RegisterEventListener(int eventType, std::shared_ptr<CollaborationFwk::EventListener> listener) override;
    // Ids are written as numbers up to the first "-"; anything else has `unknownIdCode`.
    CollaborationId FetchCollaborationId(const std::string& id) override;
    const char* GetPayLoadRawData(std::shared_ptr<CollaborationFwk::CollaborationFwkProtocol> protocol) override;
    Session CollaborationToDeviceByCtrlSession(const std::string& networkId, const std::string& callerString,
        std::shared_ptr<CollaborationFwk::ServiceInfo> service, const std::string& sessionName) override;
    int32_t TransmitMsg(
        int collaborationSessionId, const char* data, uint32_t length, uint32_t type, bool reserved) override;

    // Empty when nobody has the network id.
    std::string FindUdid(const std::string& networkId) const;

    CollaborationFwk::AbilityPlugin* plugin = nullptr;  // the last that was registered
    std::vector<std::shared_ptr<CollaborationFwk::EventListener>> listeners;
    std::shared_ptr<CollaborationFwk::ServiceInfo> lastService;  // of the last request
    std::string lastMessage;                                     // of the last TransmitMsg
    Session session{0, 7};                                       // what a request answers
    int32_t transmitResult = 0;
    int32_t unknownIdCode = 1;
    std::atomic<uint32_t> nextCollaborationId{42};
    bool hasListenerManager = true;
    sptr<CollaborationFwk::DeviceInfo> localDevice =
        MakeSptr<CollaborationFwk::DeviceInfo>("local-udid", "local-network", "here", CollaborationFwk::DeviceType::PC);
    std::map<std::string, std::string> udids{{"local-network", "local-udid"}};  // by network id
    // Runs inside a request, before it returns.
    std::function<void(const CollaborationFwk::ServiceInfo& service)> onRequest;
    // Inside the registration of a listener, and inside a TransmitMsg.
    std::function<void()> onRegisterListener;
    std::function<void(const std::string& message)> onTransmit;

private:
    Journal& journal_;
    std::mutex mutex_;  // for lastService and lastMessage
};

}  // namespace ZYNE::Testing
