// What a plug-in offers to the host.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/host/command.h"
#include "platform/host/service_info.h"
#include "platform/ipc/ipc_context.h"
#include "platform/ipc/message_option.h"
#include "platform/ipc/message_parcel.h"

namespace ZYNE::CollaborationFwk {

// Any thread. Registered with PluginLoader, which never deletes it; hence no virtual destructor.
class PLATFORM_API AbilityPlugin {
public:
    // An IPC request to the plug-in. 0 is success.
    virtual int32_t DispatchRequest(
        MessageParcel& /*data*/, MessageParcel& /*reply*/, MessageOption& /*option*/, IPCContext /*context*/) {
        return 0;
    }

    // Turns a peer's request text into commands; none when it is not understood. The text comes from another device and
    // is not to be trusted. Never throws.
    virtual std::vector<std::shared_ptr<Command>> CreateCommand(const std::string& /*commandProp*/) { return {}; }

    // The same for a request of a local service.
    virtual std::vector<std::shared_ptr<Command>> CreateCommand(
        std::string /*commandProp*/, std::shared_ptr<ServiceInfo> /*service*/) {
        return {};
    }

protected:
    ~AbilityPlugin() = default;
};

}  // namespace ZYNE::CollaborationFwk
