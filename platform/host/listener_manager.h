// Where listeners of the channel between devices are registered.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/host/event_listener.h"

namespace ZYNE::CollaborationFwk {

// Any thread; usable while libraries are loaded.
class PLATFORM_API ListenerManager {
public:
    // What FetchCollaborationId found.
    struct CollaborationId {
        int32_t code;              // 0 found; otherwise `id` names no collaboration
        uint32_t collaborationId;  // meaningful when code is 0
    };

    static ListenerManager* GetInstance();  // defined by the port; may be null

    // Delivers events of `eventType` (3: the control channel) to `listener` from now on, besides those registered
    // before. Returns without calling it and without waiting for another thread.
    virtual void RegisterEventListener(int eventType, std::shared_ptr<EventListener> listener) = 0;

    // The collaboration id inside the id string `id` of an event: the number before its first "-".
    virtual CollaborationId FetchCollaborationId(const std::string& id) = 0;

protected:
    ~ListenerManager() = default;
};

}  // namespace ZYNE::CollaborationFwk
