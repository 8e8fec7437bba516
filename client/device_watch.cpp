#include "client/device_watch.h"

#include <utility>

#include "client/device_connection.h"

namespace ZYNE::Client {

class DeviceWatch::Signals final : public DeviceProxy {
public:
    Signals(Bus& bus, DeviceHandlers handlers) : DeviceProxy(bus), handlers_(std::move(handlers)) {}

private:
    void onProfileChanged(const std::string& change, const std::string& deviceName, const std::string& deviceId,
        const std::string& service, const std::string& key, const std::string& value, const bool& whole) override {
        if (handlers_.profile) {
            handlers_.profile({change, {deviceName, deviceId, service, "", key, value, whole}});
        }
    }
    void onDevicesChanged() override {
        if (handlers_.peers) {
            handlers_.peers();
        }
    }
    void onScreenChanged(const int32_t& status) override {
        if (handlers_.screen) {
            handlers_.screen(status);
        }
    }

    const DeviceHandlers handlers_;
};

DeviceWatch::DeviceWatch(Device& device, DeviceHandlers handlers)
    : connection_(*device.connection_), signals_(connection_.Listen<Signals>(std::move(handlers))) {}

DeviceWatch::~DeviceWatch() = default;

void DeviceWatch::Follow(int stop) {
    connection_.Follow(stop);
}

}  // namespace ZYNE::Client
