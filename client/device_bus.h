// Connections to a device's bus, for the parts of this library.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include <sdbus-c++/sdbus-c++.h>

#include "client/device_registry.h"

namespace ZYNE::Client {

// The device itself on its bus, and its object.
inline constexpr const char* DEVICE_NAME = "io.collaborationfwk.Device1";
inline constexpr const char* DEVICE_PATH = "/io/collaborationfwk/Device1";

// To a running device. An answer may take `answerTime`. Throws DeviceError.
std::unique_ptr<sdbus::IConnection> ConnectTo(
    const DeviceEntry& device, std::chrono::milliseconds answerTime = std::chrono::seconds(10));

// Delivers signals until the descriptor `stop` can be read. Throws DeviceError when the device, named `device`, has
// ended.
void FollowBus(sdbus::IConnection& connection, const std::string& device, int stop);

}  // namespace ZYNE::Client
