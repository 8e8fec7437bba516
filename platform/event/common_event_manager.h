// Delivers common events: notices that any process publishes for everyone.
#pragma once

#include <memory>

#include "platform/event/common_event_subscriber.h"
#include "platform/export.h"

namespace ZYNE {

class PLATFORM_API CommonEventManager {
public:
    CommonEventManager() = delete;

    // Has `subscriber` told of the events that its subscribe info accepts, by name and by the publisher's real user,
    // from now on. False when it is null or the subscription failed. Any thread; never calls the subscriber inline. It
    // cannot be undone: the port drops the subscriber when deliveries stop, before the code behind it is unloaded.
    // Defined by the port.
    static bool SubscribeCommonEvent(const std::shared_ptr<CommonEventSubscriber>& subscriber);
};

}  // namespace ZYNE
