// The way to a device's interface on its bus, for the parts of this library.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include <sdbus-c++/sdbus-c++.h>

#include "client/device_registry.h"

namespace ZYNE::Client {

inline constexpr const char* DEVICE_BUS_NAME = "io.collaborationfwk.Device1";
inline constexpr const char* DEVICE_OBJECT_PATH = "/io/collaborationfwk/Device1";

// Connects to a device that runs; an answer may take it `answerTime`. Throws DeviceError.
std::unique_ptr<sdbus::IConnection> ConnectToDevice(const DeviceEntry& device, std::chrono::milliseconds answerTime);

// Why the device named `device` did not answer, as one line for people.
std::string ExplainBusError(const std::string& device, const sdbus::Error& error);

}  // namespace ZYNE::Client
