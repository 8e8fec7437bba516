#include "client/device_connection.h"

#include <cstddef>

#include "platform/ipc/string_conversion.h"

namespace ZYNE::Client {
namespace {

constexpr size_t MOST_BYTES = 8 << 20;  // of one text

}  // namespace

std::unique_ptr<sdbus::IConnection> ConnectToDevice(const DeviceEntry& device, std::chrono::milliseconds answerTime) {
    if (!device.running) {
        throw DeviceError("the device \"" + device.name + "\" is not running");
    }
    if (device.busAddress.empty()) {
        throw DeviceError("the device \"" + device.name + "\" is starting");
    }
    try {
        auto connection = sdbus::createSessionBusConnectionWithAddress(device.busAddress);
        connection->setMethodCallTimeout(answerTime);
        return connection;
    } catch (const sdbus::Error& error) {
        throw DeviceError("the device \"" + device.name + "\" cannot be reached: " + error.getMessage());
    }
}

std::string ExplainBusError(const std::string& device, const sdbus::Error& error) {
    const std::string& name = error.getName();
    if (name.starts_with("io.collaborationfwk.Error.")) {
        return error.getMessage();
    }
    if (name == "org.freedesktop.DBus.Error.Timeout" || name == "org.freedesktop.DBus.Error.NoReply") {
        return "the device \"" + device + "\" did not answer in time, or ended";
    }
    if (name == "org.freedesktop.DBus.Error.ServiceUnknown") {
        return "the device \"" + device + "\" is not ready yet, or is ending";
    }
    return "the device \"" + device + "\" cannot be asked: " + error.getMessage();
}

void ThrowAsDeviceError(const std::string& device, const sdbus::Error& error) {
    const std::string problem = ExplainBusError(device, error);
    if (error.getName() == "io.collaborationfwk.Error.NotFound") {
        throw NotFound(problem);
    }
    throw DeviceError(problem);
}

void CheckTexts(std::initializer_list<std::string_view> texts) {
    for (const std::string_view text : texts) {
        if (text.size() > MOST_BYTES) {
            throw DeviceError("a text of " + std::to_string(text.size()) + " bytes is too large");
        }
        if (text.find('\0') != std::string_view::npos || Str16ToStr8(Str8ToStr16(text)) != text) {
            throw DeviceError("texts must be UTF-8, without zero bytes");
        }
    }
}

}  // namespace ZYNE::Client
