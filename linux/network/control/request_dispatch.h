// Has the plug-in answer what another device asks.
#pragma once

#include <memory>
#include <string>

#include "linux/device/plugin_registry.h"
#include "linux/network/control/control_message.h"
#include "linux/network/control/session_table.h"

namespace ZYNE::Linux {

// Makes commands of a request of the device `networkId` and runs them, on a session on which their answer finds its way
// back. False when that is over already: nothing of it was started. Any thread.
bool DispatchRequest(
    const PluginRegistry& plugins, SessionTable& sessions, const std::string& networkId, const ControlMessage& request);

}  // namespace ZYNE::Linux
