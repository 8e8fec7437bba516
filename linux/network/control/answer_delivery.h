// Hands what comes back from other devices to the plug-in's listeners.
#pragma once

#include <string>
#include <vector>

#include "linux/device/listener_registry.h"
#include "linux/network/control/control_message.h"
#include "linux/network/control/session_table.h"

namespace ZYNE::Linux {

// Delivers an answer of the device `networkId` when this device asked it, also when nobody waits for it any more:
// refusing a late answer is the listener's. False when it did not, or has had its answer. Any thread.
bool DeliverAnswer(
    const ListenerRegistry& listeners, SessionTable& sessions, const std::string& networkId, ControlMessage answer);

// Tells the listeners that the channel of these collaborations is gone.
void TellChannelShutDown(const ListenerRegistry& listeners, const std::vector<std::string>& collaborationIds);

}  // namespace ZYNE::Linux
