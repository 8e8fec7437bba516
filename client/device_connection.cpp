#include "client/device_connection.h"

#include "client/device_client.h"

namespace ZYNE::Client {

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

}  // namespace ZYNE::Client
