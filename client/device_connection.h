// The way to a device's interface on its bus, for the parts of this library.
#pragma once

#include <chrono>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include <sdbus-c++/sdbus-c++.h>

#include "client/device_client.h"
#include "client/device_registry.h"

namespace ZYNE::Client {

inline constexpr const char* DEVICE_BUS_NAME = "io.collaborationfwk.Device1";
inline constexpr const char* DEVICE_OBJECT_PATH = "/io/collaborationfwk/Device1";

// Connects to a device that runs; an answer may take it `answerTime`. Throws DeviceError.
std::unique_ptr<sdbus::IConnection> ConnectToDevice(const DeviceEntry& device, std::chrono::milliseconds answerTime);

// Why the device named `device` did not answer, as one line for people.
std::string ExplainBusError(const std::string& device, const sdbus::Error& error);

[[noreturn]] void ThrowAsDeviceError(const std::string& device, const sdbus::Error& error);

// What `question`, which asks the device named `device`, returns. Throws DeviceError.
template <typename Question>
auto Ask(const std::string& device, Question question) {
    try {
        return question();
    } catch (const sdbus::Error& error) {
        ThrowAsDeviceError(device, error);
    }
}

// The bus cuts off whoever sends anything but UTF-8 without zero bytes, or a message of 16 MiB. Throws DeviceError.
void CheckTexts(std::initializer_list<std::string_view> texts);

}  // namespace ZYNE::Client
