// Is told of common events.
#pragma once

#include <utility>

#include "platform/event/common_event_data.h"
#include "platform/event/common_event_subscribe_info.h"
#include "platform/export.h"

namespace ZYNE {

class PLATFORM_API CommonEventSubscriber {
public:
    explicit CommonEventSubscriber(CommonEventSubscribeInfo subscribeInfo) : subscribeInfo_(std::move(subscribeInfo)) {}
    virtual ~CommonEventSubscriber() = default;

    // Only events that the subscribe info accepts. On any thread of the port, several at once, never inside
    // SubscribeCommonEvent.
    virtual void OnReceiveEvent(const CommonEventData& data) = 0;

    const CommonEventSubscribeInfo& GetSubscribeInfo() const { return subscribeInfo_; }

private:
    const CommonEventSubscribeInfo subscribeInfo_;
};

}  // namespace ZYNE
