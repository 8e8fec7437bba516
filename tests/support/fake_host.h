// The host framework of a simulated device: registration, the channel to peers, device identities.
#pragma once

#include <atomic>
#include <cstdlib>
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
#include "tests/support/fake_calls.h"

namespace ZYNE::Testing {

// One thread, but for the channel's operations. In the journal: "RegisterInstance(type)",
// "RegisterEventListener(type)", "Request(network id, caller, session name)", "TransmitMsg(session, type, reserved)".
class FakeHost final : public CollaborationFwk::PluginLoader,
                       public CollaborationFwk::ListenerManager,
                       public CollaborationFwk::CrossDeviceProtocol,
                       public CollaborationFwk::SessionManager,
                       public FakeCalls {
public:
    explicit FakeHost(Journal& journal) : FakeCalls(journal) {}

    bool RegisterInstance(CollaborationFwk::PluginType type, CollaborationFwk::AbilityPlugin* instance) override {
        plugin = instance;
        return Call("RegisterInstance", std::to_string(static_cast<int>(type))) == 0;
    }
    void RegisterEventListener(int eventType, std::shared_ptr<CollaborationFwk::EventListener> listener) override {
        listeners.push_back(std::move(listener));
        Call("RegisterEventListener", std::to_string(eventType));
    }
    // Ids are written as numbers up to the first "-"; anything else has `unknownIdCode`.
    CollaborationId FetchCollaborationId(const std::string& id) override {
        char* end = nullptr;
        const auto number = static_cast<uint32_t>(std::strtoul(id.c_str(), &end, 10));
        return *end == '-' ? CollaborationId{0, number} : CollaborationId{unknownIdCode, 0};
    }
    const char* GetPayLoadRawData(std::shared_ptr<CollaborationFwk::CollaborationFwkProtocol> protocol) override {
        return protocol ? protocol->GetPayload() : nullptr;
    }
    Session CollaborationToDeviceByCtrlSession(const std::string& networkId, const std::string& callerString,
        std::shared_ptr<CollaborationFwk::ServiceInfo> service, const std::string& sessionName) override {
        Call("Request", networkId + ", " + callerString + ", " + sessionName);
        {
            std::lock_guard lock(mutex_);
            lastService = service;
        }
        if (onRequest) {
            onRequest(*service);
        }
        return session;
    }
    int32_t TransmitMsg(int sessionId, const char* data, uint32_t length, uint32_t type, bool reserved) override {
        lastMessage.assign(data, length);
        return Call(
            "TransmitMsg", std::to_string(sessionId) + ", " + std::to_string(type) + (reserved ? ", true" : ", false"));
    }

    // Empty when nobody has the network id.
    std::string FindUdid(const std::string& networkId) const {
        const auto found = udids.find(networkId);
        return found != udids.end() ? found->second : std::string();
    }

    CollaborationFwk::AbilityPlugin* plugin = nullptr;  // the last that was registered
    std::vector<std::shared_ptr<CollaborationFwk::EventListener>> listeners;
    std::shared_ptr<CollaborationFwk::ServiceInfo> lastService;  // of the last request
    std::string lastMessage;                                     // of the last TransmitMsg, one at a time
    Session session{0, 7};                                       // what a request answers
    int32_t unknownIdCode = 1;
    std::atomic<uint32_t> nextCollaborationId{42};
    bool hasListenerManager = true;
    sptr<CollaborationFwk::DeviceInfo> localDevice =
        MakeSptr<CollaborationFwk::DeviceInfo>("local-udid", "local-network", "here", CollaborationFwk::DeviceType::PC);
    std::map<std::string, std::string> udids{{"local-network", "local-udid"}};  // by network id
    // Runs inside a request, before it returns.
    std::function<void(const CollaborationFwk::ServiceInfo& service)> onRequest;

private:
    std::mutex mutex_;  // for lastService
};

}  // namespace ZYNE::Testing
