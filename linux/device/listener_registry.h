// Keeps the listeners of the channel between devices.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/mutex.h"
#include "platform/host/listener_manager.h"

namespace ZYNE::Linux {

// Any thread, also while libraries are loaded.
class ListenerRegistry final : public CollaborationFwk::ListenerManager {
public:
    using Listeners = std::vector<std::shared_ptr<CollaborationFwk::EventListener>>;

    // The event type of the control channel.
    static constexpr int CONTROL_CHANNEL = 3;

    // A null listener is ignored.
    void RegisterEventListener(int eventType, std::shared_ptr<CollaborationFwk::EventListener> listener) override;
    CollaborationId FetchCollaborationId(const std::string& id) override;

    Listeners Of(int eventType) const;

private:
    mutable Mutex mutex_;
    std::map<int, Listeners> listeners_ GUARDED_BY(mutex_);  // by event type
};

}  // namespace ZYNE::Linux
