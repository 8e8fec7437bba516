#include "client/device_connection.h"

#include <algorithm>
#include <cstddef>

#include "client/device_bus.h"
#include "platform/ipc/string_conversion.h"

namespace ZYNE::Client {
namespace {

constexpr size_t MAX_TEXT_BYTES = 8 << 20;  // of one text

std::string Explain(const std::string& device, const sdbus::Error& error) {
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

}  // namespace

DeviceProxy::DeviceProxy(Bus& bus) : ProxyInterfaces(bus, BusName(DEVICE_NAME), sdbus::ObjectPath(DEVICE_PATH)) {}

DeviceConnection::DeviceConnection(const DeviceEntry& device, std::chrono::milliseconds answerTime)
    : name_(device.name), answerTime_(answerTime), connection_(ConnectTo(device, answerTime)), proxy_(*connection_) {}

void DeviceConnection::Follow(int stop) {
    FollowBus(*connection_, name_, stop);
}

void DeviceConnection::CheckText(const std::string& text) {
    if (text.size() > MAX_TEXT_BYTES) {
        throw DeviceError("a text of " + std::to_string(text.size()) + " bytes is too large");
    }
    if (text.find('\0') != std::string::npos || Str16ToStr8(Str8ToStr16(text)) != text) {
        throw DeviceError("texts must be UTF-8, without zero bytes");
    }
}

void DeviceConnection::CheckText(const std::vector<std::string>& texts) {
    std::ranges::for_each(texts, [](const std::string& text) { CheckText(text); });
}

void DeviceConnection::Throw(const sdbus::Error& error) const {
    const std::string problem = Explain(name_, error);
    if (error.getName() == "io.collaborationfwk.Error.NotFound") {
        throw NotFound(problem);
    }
    throw DeviceError(problem);
}

}  // namespace ZYNE::Client
