// Hears what happens on the channel between devices.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/export.h"
#include "platform/host/collaboration_fwk_protocol.h"

namespace ZYNE::CollaborationFwk {

// Held by std::shared_ptr. Called on threads of the port, several at once. An operation must not throw and must not
// wait for another message. The base class ignores everything.
class PLATFORM_API EventListener {
public:
    virtual ~EventListener() = default;

    // A message arrived for the collaboration `id` (or session number). `length` is not the payload's length: that is
    // the protocol object's.
    virtual void OnDataReceived(
        const std::string& /*id*/, std::shared_ptr<CollaborationFwkProtocol> /*protocol*/, uint32_t /*length*/) {}
    virtual void OnDataReceived(
        int /*sessionId*/, std::shared_ptr<CollaborationFwkProtocol> /*protocol*/, uint32_t /*length*/) {}

    // The channel that carried `id` (or the session) is gone.
    virtual void OnCtrlChannelShutDown(const std::string& /*id*/) {}
    virtual void OnCtrlChannelShutDown(int /*sessionId*/) {}
    virtual void OnSessionShutDown(int /*sessionId*/) {}

    virtual void OnWiFiShutDown() {}
    virtual void OnPowerSleep(bool /*sleeping*/) {}
    virtual void OnPowerWakeup(bool /*awake*/) {}

    // Whether this listener waits for messages of `id`. A port delivers messages that nobody waits for as well, so that
    // the listener can tell that they come too late.
    virtual bool IsIdExist(const std::string& /*id*/) { return false; }
    virtual bool IsIdExist(int /*sessionId*/) { return false; }
};

}  // namespace ZYNE::CollaborationFwk
