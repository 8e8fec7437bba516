// Hears the control channel for the info-collection protocol.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/host/event_listener.h"
#include "plugin/export.h"

namespace ZYNE::CollaborationFwk {

// Any thread; holds no data and no lock.
class InfoCollectionProcessListener : public EventListener {
public:
    // A peer's response to the request that the channel id `id` names. `length` is ignored for the protocol object's.
    using EventListener::OnDataReceived;
    CFWK_EXPORT void OnDataReceived(
        const std::string& id, std::shared_ptr<CollaborationFwkProtocol> protocol, uint32_t length) override;

    // Requests under way are left to their own time-out.
    using EventListener::OnCtrlChannelShutDown;
    CFWK_EXPORT void OnCtrlChannelShutDown(const std::string& id) override;
    CFWK_EXPORT void OnWiFiShutDown() override;

    // Whether this device has a request waiting for an answer under the channel id `id`.
    using EventListener::IsIdExist;
    CFWK_EXPORT bool IsIdExist(const std::string& id) override;
};

}  // namespace ZYNE::CollaborationFwk
