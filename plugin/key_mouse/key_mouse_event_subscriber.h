// Hears that shared data, and with it the settings, can be used.
#pragma once

#include "platform/event/common_event_subscriber.h"

namespace ZYNE::CollaborationFwk {

// On threads of the port.
class KeyMouseEventSubscriber final : public CommonEventSubscriber {
public:
    static constexpr char DATA_SHARE_READY[] = "usual.event.DATA_SHARE_READY";

    using CommonEventSubscriber::CommonEventSubscriber;

    // Events of other names are passed over.
    void OnReceiveEvent(const CommonEventData& data) override;
};

}  // namespace ZYNE::CollaborationFwk
